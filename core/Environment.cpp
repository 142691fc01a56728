#include "core/Environment.h"

namespace quorvane {

namespace {
Environment g_environment;
}

Environment& Env() { return g_environment; }

void ResetEnvironment() { g_environment = Environment{}; }

}  // namespace quorvane
