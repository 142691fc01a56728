#include "platform/qt/TraceLinePrinter.h"

#include <cstdio>

namespace quorvane {

void TraceLinePrinter::CopyData(const QByteArray& bytes) {
  std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stdout);
  std::fputc('\n', stdout);
  std::fflush(stdout);
}

}  // namespace quorvane
