#include "general/assertion.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>

void assertion_failed(const char* expression, const char* source, const char* function,
                      unsigned line) noexcept {
    std::fprintf(stderr, "%s: %s:%u: %s: Assertion `%s' failed.\n", program_invocation_short_name, source,
                 line, function, expression);
    std::fflush(stderr);
    std::abort();
}
