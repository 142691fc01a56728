// Range checks on sample positions and block indexes. Positions outside a document or a
// block are the caller's error; debug and sanitizer builds stop at the first one so that
// it is found where it happens, release builds leave them to the defensive code behind.
#pragma once

#include <cstdio>
#include <cstdlib>

namespace quorvane {

[[noreturn]] inline void StorageCheckFailed(const char* condition, const char* what,
                                            const char* file, int line) {
  std::fprintf(stderr, "%s:%d: storage check failed: %s (%s)\n", file, line, what, condition);
  std::abort();
}

}  // namespace quorvane

#if defined(QUORVANE_CHECKS) && QUORVANE_CHECKS
#define QUORVANE_CHECK(condition, what) \
  ((condition) ? (void)0 : ::quorvane::StorageCheckFailed(#condition, what, __FILE__, __LINE__))
#else
// Not evaluated, but still compiled, so that values used only in checks stay "used".
#define QUORVANE_CHECK(condition, what) ((void)sizeof((condition) ? 1 : 0))
#endif
