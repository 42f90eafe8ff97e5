// Internal invariants. A broken invariant is a programming fault: the
// process stops with the expression, the source unit and the function's
// signature, in every build type (NDEBUG does not remove these).
#ifndef KV_ASSERT_H
#define KV_ASSERT_H

[[noreturn]] void KvAssertFail(const char* expression, const char* unit, unsigned line, const char* function);

// Two levels, so that macros in the expression (pixel-format codes) appear
// expanded in the message.
#define KV_ASSERT_TEXT(expr, unit) \
    ((expr) ? static_cast<void>(0) : KvAssertFail(#expr, unit, __LINE__, __PRETTY_FUNCTION__))
#define KV_ASSERT(expr, unit) KV_ASSERT_TEXT(expr, unit)

#endif
