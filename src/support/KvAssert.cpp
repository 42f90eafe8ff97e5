#include "KvAssert.h"

#include <cstdio>
#include <cstdlib>

void KvAssertFail(const char* expression, const char* unit, unsigned line, const char* function)
{
    std::fflush(stdout);
    std::fprintf(stderr, "img_proc.so.17: %s:%u: %s: Assertion `%s' failed.\n", unit, line, function, expression);
    std::fflush(stderr);
    std::abort();
}
