// Dynamic text of the camera kit. The content is always zero-terminated;
// the text pointer stays valid until the next change.
#ifndef CKV_STRING_H
#define CKV_STRING_H

class CKvString {
public:
    CKvString();
    CKvString(const char* text);
    CKvString(const CKvString& other);
    ~CKvString();

    CKvString& operator=(const char* text);
    CKvString& operator=(const CKvString& other);
    operator const char*() const;

    // Replaces the content by printf formatting.
    void Format(const char* format, ...) __attribute__((format(printf, 2, 3)));

    CKvString& operator+=(const char* text);
    CKvString& operator+=(const CKvString& other);
    CKvString operator+(const CKvString& other) const;
    bool operator==(const char* text) const;

    int GetLength() const;
    bool IsEmpty() const;
    void Empty();
    char GetAt(unsigned long index) const;
    const char* GetString() const;

    // Writable text of at least length characters (0: the current text).
    char* GetBuffer(unsigned long length);
    // Ends a GetBuffer; the content now has length characters
    // (a negative length: up to the first zero byte).
    void ReleaseBuffer(int length = -1);

    int Find(const char* text, int start = 0) const;
    int ReverseFind(char c) const;
    CKvString Mid(unsigned long start, unsigned long count) const;
    int Delete(int start, int count = 1);
    int Replace(const char* from, const char* to);
    void MakeUpper();
    int ToInt() const;

private:
    void Assign(const char* text, unsigned long length);
    void Reserve(unsigned long capacity);
    void Append(const char* text, unsigned long length);
    void Adopt(char* data, unsigned long length, unsigned long capacity);

    // Null until the first text is stored; mulCapacity counts characters
    // without the terminator, for which one more byte is always allocated.
    char* mpData;
    unsigned long mulLength;
    unsigned long mulCapacity;
};

#endif
