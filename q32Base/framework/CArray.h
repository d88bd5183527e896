#pragma once

#include "q32Base/framework/CObject.h"
#include "q32Base/framework/Exceptions.h"

#include <algorithm>
#include <cassert>
#include <climits>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>

/// A growable array. It grows by the step that was set, or else by one eighth of its size, clamped
/// to 4 to 1024 elements, and in any case to the requested size. New elements are zero. If growing
/// fails, it raises the memory exception and the array is unchanged. Indices are checked only by
/// assertions.
template <typename TYPE, typename ARG_TYPE>
class CArray : public CObject {
public:
    /// Empty, without storage.
    CArray() = default;
    ~CArray() override { fnFree(); }

    /// Number of elements.
    int GetSize() const { return m_nSize; }
    /// Index of the last element; -1 for an empty array.
    int GetUpperBound() const { return m_nSize - 1; }
    /// Whether there are no elements.
    bool IsEmpty() const { return m_nSize == 0; }
    /// Elements that fit into the present storage.
    int GetCapacity() const { return m_nMaxSize; }
    /// The first element, which all others follow; owned by the array and valid until it grows or
    /// shrinks its storage. Null without storage.
    TYPE* GetData() { return m_pData; }
    const TYPE* GetData() const { return m_pData; }

    /// The element at `index`, from 0 to the upper bound. The reference is valid as long as the
    /// storage.
    TYPE& operator[](int index) { return ElementAt(index); }
    const TYPE& operator[](int index) const { return GetAt(index); }
    const TYPE& GetAt(int index) const {
        assert(index >= 0 && index < m_nSize);
        return m_pData[index];
    }
    TYPE& ElementAt(int index) {
        assert(index >= 0 && index < m_nSize);
        return m_pData[index];
    }
    /// Replaces an element that exists.
    void SetAt(int index, ARG_TYPE value) { ElementAt(index) = value; }

    /// Sets the size; 0 frees the storage. A `growBy` of -1 keeps the step; 0 selects the rule
    /// above.
    void SetSize(int newSize, int growBy = -1) {
        assert(newSize >= 0);
        if (growBy != -1)
            m_nGrowBy = growBy;
        if (newSize == 0) {
            fnFree();
            return;
        }
        if (newSize > m_nMaxSize)
            fnMove(fnGrownCapacity(newSize));
        if (newSize > m_nSize)
            std::uninitialized_value_construct(m_pData + m_nSize, m_pData + newSize);
        else
            std::destroy(m_pData + newSize, m_pData + m_nSize);
        m_nSize = newSize;
    }

    /// Removes all elements and frees the storage; the growth step stays.
    void RemoveAll() { SetSize(0, -1); }
    /// Shrinks the storage to the size.
    void FreeExtra() {
        if (m_nSize == m_nMaxSize)
            return;
        if (m_nSize == 0)
            fnFree();
        else
            fnMove(m_nSize);
    }

    /// Appends one element and returns its index.
    int Add(ARG_TYPE value) {
        const int index = m_nSize;
        TYPE copy = value; // the argument may be an element of this array
        SetSize(index + 1);
        m_pData[index] = std::move(copy);
        return index;
    }
    /// Appends another array, which may be this one. Returns the index of its first element here.
    int Append(const CArray& other) {
        const int old = m_nSize;
        const int count = other.m_nSize;
        SetSize(old + count);
        std::copy_n(other.m_pData, count, m_pData + old);
        return old;
    }
    /// Takes the size and copies of the elements of another array, which may be this one.
    void Copy(const CArray& other) {
        if (this == &other)
            return;
        SetSize(other.m_nSize);
        std::copy_n(other.m_pData, other.m_nSize, m_pData);
    }
    /// Sets an element; an index beyond the end grows the array.
    void SetAtGrow(int index, ARG_TYPE value) {
        assert(index >= 0);
        TYPE copy = value;
        if (index >= m_nSize)
            SetSize(index + 1);
        m_pData[index] = std::move(copy);
    }
    /// Inserts `count` copies before `index`; beyond the end, the gap is filled with zeros.
    void InsertAt(int index, ARG_TYPE value, int count = 1) {
        assert(index >= 0 && count > 0);
        TYPE copy = value;
        const int old = m_nSize;
        SetSize(std::max(index, old) + count);
        if (index < old)
            std::move_backward(m_pData + index, m_pData + old, m_pData + old + count);
        std::fill_n(m_pData + index, count, copy);
    }
    /// Removes `count` elements, which must exist; those behind them move up. The storage stays.
    void RemoveAt(int index, int count = 1) {
        assert(index >= 0 && count >= 0 && index + count <= m_nSize);
        std::move(m_pData + index + count, m_pData + m_nSize, m_pData + index);
        std::destroy(m_pData + m_nSize - count, m_pData + m_nSize);
        m_nSize -= count;
    }

private:
    int fnGrownCapacity(int newSize) const {
        const int step = m_nGrowBy > 0 ? m_nGrowBy : std::clamp(m_nSize / 8, 4, 1024);
        return std::max(newSize, m_nMaxSize > INT_MAX - step ? INT_MAX : m_nMaxSize + step);
    }

    /// Moves the elements to new storage for `capacity` of them.
    void fnMove(int capacity) {
        assert(capacity > 0 && capacity >= m_nSize);
        // NOLINTNEXTLINE(bugprone-sizeof-expression): elements may be pointers
        const std::size_t bytes = static_cast<std::size_t>(capacity) * sizeof(TYPE);
        auto* fresh = static_cast<TYPE*>(::operator new(bytes, std::nothrow));
        if (!fresh)
            AfxThrowMemoryException();
        std::uninitialized_move_n(m_pData, m_nSize, fresh);
        std::destroy_n(m_pData, m_nSize);
        ::operator delete(m_pData);
        m_pData = fresh;
        m_nMaxSize = capacity;
    }

    void fnFree() {
        std::destroy_n(m_pData, m_nSize);
        ::operator delete(m_pData);
        m_pData = nullptr;
        m_nSize = m_nMaxSize = 0;
    }

    TYPE* m_pData = nullptr;
    int m_nSize = 0;
    int m_nMaxSize = 0;
    int m_nGrowBy = 0;
};

/// Objects by pointer; not owned.
using CObArray = CArray<CObject*, CObject*>;
/// Unsigned numbers of 32 bits.
using CDWordArray = CArray<std::uint32_t, std::uint32_t>;
/// Unsigned numbers.
using CUIntArray = CArray<unsigned int, unsigned int>;
