// Which source/destination pairs the tool may hand to the plug-in at all.
// doTransform runs the source's converter on any destination; a few pairs
// end in the plug-in's assertion, which stops the whole process, so they
// are refused here before the plug-in sees them.
#ifndef FRAMECONV_PAIR_POLICY_H
#define FRAMECONV_PAIR_POLICY_H

#include <cstdint>
#include <string>

enum class PairVerdict {
    Allowed,
    NoConverter,   // the source has no converter: every transform fails
    StopsProcess,  // the converter asserts on this pair
    WritesNothing, // the converter returns success without writing pixels
};

struct PairCheck {
    PairVerdict verdict;
    std::string reason;  // empty for Allowed
};

class PairPolicy {
public:
    static PairCheck Check(uint32_t source, uint32_t destination);
    // Allowed and WritesNothing may be run; the others are refused.
    static bool MayRun(const PairCheck& check)
    {
        return check.verdict == PairVerdict::Allowed || check.verdict == PairVerdict::WritesNothing;
    }
};

#endif
