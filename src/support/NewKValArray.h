// Growing array of values, addressed by index.
#ifndef NEW_KVAL_ARRAY_H
#define NEW_KVAL_ARRAY_H

#include <cstddef>
#include <new>
#include <vector>

template <class T>
class NewKValArray {
public:
    int GetSize() const { return static_cast<int>(mItems.size()); }
    // Grows or shrinks to `size`; new elements are value-initialised.
    // `growBy` asks for room beyond the size for later growth; it is only a
    // hint and is dropped when the memory is not there.
    void SetSize(int size, int growBy = -1)
    {
        if (size < 0)
            size = 0;
        if (growBy > 0) {
            try {
                mItems.reserve(static_cast<std::size_t>(size) + static_cast<std::size_t>(growBy));
            } catch (const std::bad_alloc&) {
            }
        }
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
