#include "ui/HostWindow.h"

#include <xcb/xcb.h>

#include <QGuiApplication>
#include <QWidget>
#include <QWindow>
#include <array>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace quorvane {

namespace {

constexpr std::array<std::string_view, 5> kHostFrameClasses = {
    "PP97FrameClass", "PP9FrameClass", "PP10FrameClass", "PP11FrameClass", "PP12FrameClass"};

struct FreeDeleter {
  void operator()(void* pointer) const { std::free(pointer); }
};

// WM_CLASS holds the instance name and the class name, each ending in a zero byte.
std::string WindowClass(xcb_connection_t* connection, xcb_window_t window) {
  const xcb_get_property_cookie_t cookie =
      xcb_get_property(connection, 0, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 256);
  std::unique_ptr<xcb_get_property_reply_t, FreeDeleter> reply(
      xcb_get_property_reply(connection, cookie, nullptr));
  if (!reply) return {};
  const auto* bytes = static_cast<const char*>(xcb_get_property_value(reply.get()));
  const std::string value(bytes, static_cast<size_t>(xcb_get_property_value_length(reply.get())));
  const size_t separator = value.find('\0');
  if (separator == std::string::npos) return {};
  const std::string rest = value.substr(separator + 1);
  return rest.substr(0, rest.find('\0'));
}

}  // namespace

uint32_t FindHostWindow() {
  try {
    if (QGuiApplication::platformName() != "xcb") return 0;
    auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    if (x11 == nullptr || x11->connection() == nullptr) return 0;
    xcb_connection_t* connection = x11->connection();
    const xcb_screen_t* screen = xcb_setup_roots_iterator(xcb_get_setup(connection)).data;
    if (screen == nullptr) return 0;
    std::unique_ptr<xcb_query_tree_reply_t, FreeDeleter> tree(
        xcb_query_tree_reply(connection, xcb_query_tree(connection, screen->root), nullptr));
    if (!tree) return 0;
    const xcb_window_t* children = xcb_query_tree_children(tree.get());
    const int count = xcb_query_tree_children_length(tree.get());
    std::vector<std::string> classes;
    classes.reserve(static_cast<size_t>(count));
    for (int i = 0; i < count; ++i) classes.push_back(WindowClass(connection, children[i]));
    for (const std::string_view wanted : kHostFrameClasses) {
      for (int i = 0; i < count; ++i) {
        if (classes[static_cast<size_t>(i)] == wanted) return children[i];
      }
    }
  } catch (...) {
  }
  return 0;
}

void ConnectToHostWindow(QWidget& window) {
  const uint32_t host = FindHostWindow();
  if (host == 0) return;
  window.winId();  // the window needs its native handle to take an owner
  QWindow* owner = QWindow::fromWinId(host);
  if (owner != nullptr && window.windowHandle() != nullptr) {
    static_cast<QObject*>(owner)->setParent(&window);  // released with the editor's window
    window.windowHandle()->setTransientParent(owner);
  }
}

}  // namespace quorvane
