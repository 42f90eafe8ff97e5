// What the plug-in's defined behaviour does to a picture, said before a user
// mistakes it for a fault: one short tag (for captions) and one line of
// explanation with the way to the other view.
#ifndef FRAMECONV_QUIRK_NOTES_H
#define FRAMECONV_QUIRK_NOTES_H

#include <cstdint>
#include <string>
#include <vector>

#include "KorvaTypes.h"

struct Quirk {
    std::string tag;
    std::string text;
};

class QuirkNotes {
public:
    // Quirks of a conversion, known from the pair and the method alone.
    // `aligned` says the tool already removed the phase's effect.
    static std::vector<Quirk> ForPair(uint32_t source, uint32_t destination, KORVA_Demosaic method);
    // Quirks seen in the result's samples: nothing written, or values far
    // below what the container holds.
    static std::vector<Quirk> ForSamples(const std::vector<uint16_t>& samples, int significantBits, int maxValue);
};

#endif
