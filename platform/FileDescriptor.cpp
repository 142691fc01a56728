#include "platform/FileDescriptor.h"

#include <unistd.h>

namespace quorvane {

int FileDescriptor::Close() {
  if (fd_ < 0) return 0;
  const int result = ::close(fd_);
  fd_ = -1;
  return result;
}

}  // namespace quorvane
