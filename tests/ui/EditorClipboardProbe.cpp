// An editor session on a real display, driven from a test in another process, to show
// that two running editors share audio through the desktop clipboard:
//   probe copy PROJECT FROM TO    copies FROM..TO, prints "copied" and the left samples,
//                                 and on SIGTERM closes its window and prints what the
//                                 clipboard holds afterwards ("released [...]")
//   probe paste PROJECT AT COUNT  pastes at AT and prints "pasted" and COUNT left samples
//   probe clipboard               prints "clipboard [...]"
// Everything goes to standard error, line by line.
#include <csignal>

#include <QApplication>
#include <QClipboard>
#include <QTimer>
#include <atomic>
#include <iostream>
#include <string>

#include "core/BatchInteraction.h"
#include "storage/EditorState.h"
#include "storage/FileMemoClass.h"
#include "ui/Main.h"
#include "ui/WaveEditor_Frm.h"

namespace {

std::atomic<bool> g_terminate = false;

std::string Samples(quorvane::FileMemoClass& document, int32_t from, int32_t count) {
  std::string text;
  for (int32_t p = from; p < from + count; ++p) text += " " + std::to_string(document.WaveL(p));
  return text;
}

std::string ClipboardText() { return QGuiApplication::clipboard()->text().toStdString(); }

}  // namespace

int main(int argc, char** argv) {
  using namespace quorvane;
  qputenv("QT_QPA_PLATFORM", "xcb");
  QApplication application(argc, argv);
  const std::vector<std::string> words(argv + 1, argv + argc);
  if (words.size() == 1 && words[0] == "clipboard") {
    std::cerr << "clipboard [" << ClipboardText() << "]" << std::endl;
    return 0;
  }
  if (words.size() != 4) return 2;
  BatchInteraction interaction(std::cerr);
  std::unique_ptr<EditorSession> session = EditorSession::Open(words[1], &interaction);
  if (!session) return 1;
  WaveEditor_Frm& window = session->Window();
  window.show();
  const int32_t first = std::stoi(words[2]);
  const int32_t second = std::stoi(words[3]);
  if (words[0] == "paste") {
    Editor().SelStart = Editor().SelEnd = first;
    window.EditPaste_Mnu_Click();
    std::cerr << "pasted" << Samples(*session->Document(), first, second) << std::endl;
    return 0;
  }
  if (words[0] != "copy") return 2;
  Editor().SelStart = first;
  Editor().SelEnd = second;
  window.EditCopy_Mnu_Click();
  std::cerr << "copied" << Samples(*session->Document(), first, second - first + 1) << std::endl;
  std::signal(SIGTERM, [](int) { g_terminate = true; });
  QTimer poll;
  QObject::connect(&poll, &QTimer::timeout, [&] {
    if (!g_terminate) return;
    window.close();
    std::cerr << "released [" << ClipboardText() << "]" << std::endl;
    application.quit();
  });
  poll.start(10);
  return QApplication::exec();
}
