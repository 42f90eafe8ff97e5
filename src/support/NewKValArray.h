// Growing array of values, addressed by index.
#ifndef NEW_KVAL_ARRAY_H
#define NEW_KVAL_ARRAY_H

#include <cstddef>
#include <vector>

template <class T>
class NewKValArray {
public:
    int GetSize() const { return static_cast<int>(mItems.size()); }
    // Grows or shrinks to `size`; new elements are value-initialised.
    // `growBy` reserves that much beyond the size for later appends.
    void SetSize(int size, int growBy = -1)
    {
        if (size < 0)
            size = 0;
        if (growBy > 0)
            mItems.reserve(static_cast<std::size_t>(size) + static_cast<std::size_t>(growBy));
        mItems.resize(static_cast<std::size_t>(size));
    }
    void RemoveAll() { mItems.clear(); }
    int Append(const T& item)
    {
        mItems.push_back(item);
        return GetSize() - 1;
    }
    T& operator[](int index) { return mItems[static_cast<std::size_t>(index)]; }
    const T& operator[](int index) const { return mItems[static_cast<std::size_t>(index)]; }
    const T& GetAt(int index) const { return mItems[static_cast<std::size_t>(index)]; }
    T& ElementAt(int index) { return mItems[static_cast<std::size_t>(index)]; }
    void InsertAt(int index, const T& item, int count = 1)
    {
        if (index > GetSize())
            mItems.resize(static_cast<std::size_t>(index));
        mItems.insert(mItems.begin() + index, static_cast<std::size_t>(count), item);
    }

private:
    std::vector<T> mItems;
};

#endif
