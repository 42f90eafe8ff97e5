#include "CKvString.h"

#include <cctype>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string_view>

namespace {

// GetLength reports an int, so no content may be longer than that.
constexpr unsigned long kMaxLength = INT_MAX;

// Zero-filled, so that a ReleaseBuffer past what the caller wrote never
// exposes uninitialised bytes.
char* Allocate(unsigned long capacity) {
    if (capacity > kMaxLength) throw std::length_error("CKvString: text too long");
    return new char[capacity + 1]();
}

// Grows by half so that repeated appends stay linear.
unsigned long GrowCapacity(unsigned long current, unsigned long needed) {
    unsigned long grown = current + current / 2;
    if (grown > kMaxLength) grown = kMaxLength;
    return grown > needed ? grown : needed;
}

}  // namespace

CKvString::CKvString() : mpData(nullptr), mulLength(0), mulCapacity(0) {}

CKvString::CKvString(const char* text) : CKvString() {
    if (text != nullptr) Assign(text, std::strlen(text));
}

CKvString::CKvString(const CKvString& other) : CKvString() { Assign(other.mpData, other.mulLength); }

CKvString::~CKvString() { delete[] mpData; }

// Takes over a buffer of capacity + 1 bytes; the caller has terminated it.
void CKvString::Adopt(char* data, unsigned long length, unsigned long capacity) {
    delete[] mpData;
    mpData = data;
    mulLength = length;
    mulCapacity = capacity;
}

// text may point into this string's own buffer (s = s, s = s + k): the old
// buffer is only released after the copy.
void CKvString::Assign(const char* text, unsigned long length) {
    if (length == 0) {
        if (mpData != nullptr) mpData[0] = '\0';
        mulLength = 0;
        return;
    }
    if (mpData != nullptr && length <= mulCapacity) {
        std::memmove(mpData, text, length);
    } else {
        char* data = Allocate(length);
        std::memcpy(data, text, length);
        Adopt(data, length, length);
    }
    mulLength = length;
    mpData[length] = '\0';
}

// Keeps the whole old buffer, not just the content, because a caller between
// GetBuffer and ReleaseBuffer may have written past the current length.
void CKvString::Reserve(unsigned long capacity) {
    if (mpData != nullptr && capacity <= mulCapacity) return;
    const unsigned long newCapacity = GrowCapacity(mulCapacity, capacity);
    char* data = Allocate(newCapacity);
    if (mpData != nullptr) std::memcpy(data, mpData, mulCapacity + 1);
    Adopt(data, mulLength, newCapacity);
}

// As Assign, text may be this string's own content (s += s).
void CKvString::Append(const char* text, unsigned long length) {
    if (length == 0) return;
    if (length > kMaxLength - mulLength) throw std::length_error("CKvString: text too long");
    const unsigned long newLength = mulLength + length;
    if (mpData != nullptr && newLength <= mulCapacity) {
        std::memmove(mpData + mulLength, text, length);
    } else {
        const unsigned long newCapacity = GrowCapacity(mulCapacity, newLength);
        char* data = Allocate(newCapacity);
        if (mpData != nullptr) std::memcpy(data, mpData, mulLength);
        std::memcpy(data + mulLength, text, length);
        Adopt(data, mulLength, newCapacity);
    }
    mulLength = newLength;
    mpData[newLength] = '\0';
}

CKvString& CKvString::operator=(const char* text) {
    Assign(text, text != nullptr ? std::strlen(text) : 0);
    return *this;
}

CKvString& CKvString::operator=(const CKvString& other) {
    if (&other != this) Assign(other.mpData, other.mulLength);
    return *this;
}

// Never null, so that callers can hand the text straight to C functions.
CKvString::operator const char*() const { return mpData != nullptr ? mpData : ""; }

// Formats into a fresh buffer: an argument may be this string's own text.
void CKvString::Format(const char* format, ...) {
    if (format == nullptr) {
        Empty();
        return;
    }
    va_list args;
    va_start(args, format);
    va_list argsCopy;
    va_copy(argsCopy, args);
    const int needed = std::vsnprintf(nullptr, 0, format, args);
    va_end(args);
    if (needed < 0) {
        // An encoding error leaves nothing sensible to keep.
        va_end(argsCopy);
        Empty();
        return;
    }
    char* data = nullptr;
    try {
        data = Allocate(static_cast<unsigned long>(needed));
    } catch (...) {
        va_end(argsCopy);
        throw;
    }
    std::vsnprintf(data, static_cast<std::size_t>(needed) + 1, format, argsCopy);
    va_end(argsCopy);
    Adopt(data, static_cast<unsigned long>(needed), static_cast<unsigned long>(needed));
}

CKvString& CKvString::operator+=(const char* text) {
    if (text != nullptr) Append(text, std::strlen(text));
    return *this;
}

CKvString& CKvString::operator+=(const CKvString& other) {
    Append(other.mpData, other.mulLength);
    return *this;
}

CKvString CKvString::operator+(const CKvString& other) const {
    CKvString result(*this);
    result += other;
    return result;
}

// A null text equals the empty string.
bool CKvString::operator==(const char* text) const {
    if (text == nullptr) return mulLength == 0;
    return std::strcmp(GetString(), text) == 0;
}

int CKvString::GetLength() const { return static_cast<int>(mulLength); }

bool CKvString::IsEmpty() const { return mulLength == 0; }

// Keeps the buffer for the next text.
void CKvString::Empty() {
    if (mpData != nullptr) mpData[0] = '\0';
    mulLength = 0;
}

// Indexes at or past the end read as the terminator rather than beyond it.
char CKvString::GetAt(unsigned long index) const { return index < mulLength ? mpData[index] : '\0'; }

const char* CKvString::GetString() const { return *this; }

// Never shrinks: a request below the current length still gives the full text.
char* CKvString::GetBuffer(unsigned long length) {
    Reserve(length > mulLength ? length : mulLength);
    return mpData;
}

// Bounded by what GetBuffer handed out, so a missing terminator or an
// oversized length cannot reach past the buffer.
void CKvString::ReleaseBuffer(int length) {
    if (mpData == nullptr) {
        mulLength = 0;
        return;
    }
    unsigned long newLength;
    if (length < 0)
        newLength = strnlen(mpData, mulCapacity);
    else
        newLength = static_cast<unsigned long>(length) < mulCapacity ? static_cast<unsigned long>(length)
                                                                    : mulCapacity;
    mulLength = newLength;
    mpData[newLength] = '\0';
}

// A negative start searches from the beginning; a start past the end finds nothing.
int CKvString::Find(const char* text, int start) const {
    if (text == nullptr) return -1;
    if (start < 0) start = 0;
    if (static_cast<unsigned long>(start) > mulLength) return -1;
    const std::string_view content(GetString(), mulLength);
    const std::size_t hit = content.find(text, static_cast<std::size_t>(start));
    return hit == std::string_view::npos ? -1 : static_cast<int>(hit);
}

// Looks at the content only, so the terminator is never found.
int CKvString::ReverseFind(char c) const {
    for (unsigned long i = mulLength; i-- > 0;)
        if (mpData[i] == c) return static_cast<int>(i);
    return -1;
}

// Clamped to the text: a start past the end gives an empty string.
CKvString CKvString::Mid(unsigned long start, unsigned long count) const {
    CKvString result;
    if (start >= mulLength) return result;
    const unsigned long available = mulLength - start;
    result.Assign(mpData + start, count < available ? count : available);
    return result;
}

// Clamped to the text; a negative start counts from the beginning.
int CKvString::Delete(int start, int count) {
    if (start < 0) start = 0;
    const unsigned long from = static_cast<unsigned long>(start);
    if (count > 0 && from < mulLength) {
        const unsigned long available = mulLength - from;
        const unsigned long removed =
            static_cast<unsigned long>(count) < available ? static_cast<unsigned long>(count) : available;
        // Moves the terminator along with the tail.
        std::memmove(mpData + from, mpData + from + removed, available - removed + 1);
        mulLength -= removed;
    }
    return GetLength();
}

// Non-overlapping occurrences, left to right. An empty pattern would match
// everywhere and replaces nothing. The result is built in a new buffer because
// from or to may point into this string.
int CKvString::Replace(const char* from, const char* to) {
    if (from == nullptr || *from == '\0' || mulLength == 0) return 0;
    if (to == nullptr) to = "";
    const std::string_view content(mpData, mulLength);
    const std::string_view pattern(from);
    const std::string_view replacement(to);

    unsigned long count = 0;
    for (std::size_t pos = content.find(pattern); pos != std::string_view::npos;
         pos = content.find(pattern, pos + pattern.size()))
        ++count;
    if (count == 0) return 0;

    const unsigned long shrunk = mulLength - count * pattern.size();
    if (replacement.size() > (kMaxLength - shrunk) / count) throw std::length_error("CKvString: text too long");
    const unsigned long newLength = shrunk + count * replacement.size();

    char* data = Allocate(newLength);
    char* out = data;
    std::size_t copied = 0;
    for (std::size_t pos = content.find(pattern); pos != std::string_view::npos;
         pos = content.find(pattern, pos + pattern.size())) {
        std::memcpy(out, content.data() + copied, pos - copied);
        out += pos - copied;
        std::memcpy(out, replacement.data(), replacement.size());
        out += replacement.size();
        copied = pos + pattern.size();
    }
    std::memcpy(out, content.data() + copied, mulLength - copied);
    Adopt(data, newLength, newLength);
    return static_cast<int>(count);
}

void CKvString::MakeUpper() {
    for (unsigned long i = 0; i < mulLength; ++i)
        mpData[i] = static_cast<char>(std::toupper(static_cast<unsigned char>(mpData[i])));
}

// What atoi does, but through strtol so that an out-of-range number is not
// undefined behaviour; it wraps like atoi on this platform.
int CKvString::ToInt() const { return static_cast<int>(std::strtol(GetString(), nullptr, 10)); }
