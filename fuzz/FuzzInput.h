// Reads a fuzzer's input from the front as small numbers, so that seed
// inputs can be written by hand: a value in a range of up to 256 takes one
// byte, up to 65536 two, else four, little-endian; past the end all is 0.
#ifndef FUZZ_INPUT_H
#define FUZZ_INPUT_H

#include <cstddef>
#include <cstdint>
#include <initializer_list>

class CFuzzInput {
public:
    CFuzzInput(const uint8_t* data, size_t size) : mpData(data), mSize(size), mAt(0) {}

    bool Empty() const { return mAt >= mSize; }

    uint32_t Bits(int bytes)
    {
        uint32_t v = 0;
        for (int k = 0; k < bytes; ++k, ++mAt)
            v |= static_cast<uint32_t>(mAt < mSize ? mpData[mAt] : 0) << (8 * k);
        return v;
    }

    int Range(int lo, int hi)
    {
        const uint64_t span = static_cast<uint64_t>(static_cast<int64_t>(hi) - lo) + 1;
        const uint32_t v = Bits(span <= 256 ? 1 : (span <= 65536 ? 2 : 4));
        return static_cast<int>(static_cast<int64_t>(lo) + static_cast<int64_t>(v % span));
    }

    bool Bool() { return (Bits(1) & 1) != 0; }
    int Int() { return static_cast<int>(Bits(4)); }
    double Real(double lo, double hi) { return lo + (hi - lo) * Bits(2) / 65535.0; }

    template <typename T, size_t N>
    T Pick(const T (&values)[N])
    {
        return values[Range(0, static_cast<int>(N) - 1)];
    }
    template <typename T>
    T Pick(std::initializer_list<T> values)
    {
        return values.begin()[Range(0, static_cast<int>(values.size()) - 1)];
    }

private:
    const uint8_t* mpData;
    size_t mSize;
    size_t mAt;
};

#endif
