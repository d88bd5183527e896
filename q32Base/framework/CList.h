#pragma once

#include "q32Base/framework/CObject.h"
#include "q32Base/framework/CPlex.h"

#include <cassert>
#include <cstddef>
#include <new>
#include <utility>

/// A position in a CList; null means none.
using POSITION = struct POSITION__*;

/// A doubly linked list whose nodes are allocated in blocks of `blockSize`. Removed nodes are
/// reused, so that alternately adding and removing doesn't allocate; when the list becomes empty,
/// its blocks are freed.
template <typename TYPE, typename ARG_TYPE>
class CList : public CObject {
public:
    /// An empty list. `blockSize`, above 0, is the number of nodes allocated at a time.
    explicit CList(int blockSize = 10) : m_nBlockSize(blockSize) { assert(blockSize > 0); }
    ~CList() override { RemoveAll(); }

    /// Number of elements.
    int GetCount() const { return m_nCount; }
    /// Whether there are no elements.
    bool IsEmpty() const { return m_nCount == 0; }

    /// Position of the first or the last element; null for an empty list. A position is valid until
    /// its element is removed.
    POSITION GetHeadPosition() const { return fnPosition(m_pHead); }
    POSITION GetTailPosition() const { return fnPosition(m_pTail); }
    /// Returns the element at `position` and advances `position`, to null after the last element.
    TYPE& GetNext(POSITION& position) {
        assert(position);
        Node* node = fnNode(position);
        position = fnPosition(node->m_pNext);
        return node->m_Value;
    }
    const TYPE& GetNext(POSITION& position) const {
        assert(position);
        const Node* node = fnNode(position);
        position = fnPosition(node->m_pNext);
        return node->m_Value;
    }
    /// The element at a position, which must not be null.
    TYPE& GetAt(POSITION position) { return fnNode(position)->m_Value; }
    const TYPE& GetAt(POSITION position) const { return fnNode(position)->m_Value; }

    /// Appends a copy at the tail, and returns its position. If memory is exhausted, raises the
    /// memory exception; the list is then unchanged.
    POSITION AddTail(ARG_TYPE value) {
        Node* node = fnNewNode(value);
        node->m_pPrevious = m_pTail;
        (m_pTail ? m_pTail->m_pNext : m_pHead) = node;
        m_pTail = node;
        return fnPosition(node);
    }
    /// The same at the head.
    POSITION AddHead(ARG_TYPE value) {
        Node* node = fnNewNode(value);
        node->m_pNext = m_pHead;
        (m_pHead ? m_pHead->m_pPrevious : m_pTail) = node;
        m_pHead = node;
        return fnPosition(node);
    }

    /// Position of the first equal element from the head; null if there is none.
    POSITION Find(ARG_TYPE value) const {
        for (Node* node = m_pHead; node; node = node->m_pNext) {
            if (node->m_Value == value)
                return fnPosition(node);
        }
        return nullptr;
    }

    /// Removes the element at a position, which must not be null. All other positions stay valid.
    void RemoveAt(POSITION position) {
        assert(position && m_nCount > 0);
        Node* node = fnNode(position);
        assert((node->m_pPrevious ? node->m_pPrevious->m_pNext : m_pHead) == node);
        assert((node->m_pNext ? node->m_pNext->m_pPrevious : m_pTail) == node);
        (node->m_pPrevious ? node->m_pPrevious->m_pNext : m_pHead) = node->m_pNext;
        (node->m_pNext ? node->m_pNext->m_pPrevious : m_pTail) = node->m_pPrevious;
        node->~Node();
        fnRecycle(node);
        --m_nCount;
        assert((m_nCount == 0) == !m_pHead && (m_nCount == 0) == !m_pTail);
        if (m_nCount == 0)
            fnFreeBlocks();
    }

    /// Removes all elements and frees the blocks.
    void RemoveAll() {
        for (Node* node = m_pHead; node;) {
            Node* next = node->m_pNext;
            node->~Node();
            node = next;
        }
        m_nCount = 0;
        fnFreeBlocks();
    }

private:
    struct Node {
        Node* m_pNext;
        Node* m_pPrevious;
        TYPE m_Value;
    };
    static_assert(alignof(Node) <= alignof(std::max_align_t));

    /// The memory of an unused node.
    struct Free {
        Free* m_pNext;
    };

    static POSITION fnPosition(Node* node) { return reinterpret_cast<POSITION>(node); }
    static Node* fnNode(POSITION position) { return reinterpret_cast<Node*>(position); }

    Node* fnNewNode(ARG_TYPE value) {
        if (!m_pFree) {
            CPlex* block =
                CPlex::Create(m_pBlocks, static_cast<std::size_t>(m_nBlockSize), sizeof(Node));
            auto* room = static_cast<unsigned char*>(block->data());
            for (int i = m_nBlockSize - 1; i >= 0; --i)
                fnRecycle(room + static_cast<std::size_t>(i) * sizeof(Node));
        }
        Free* free = m_pFree;
        m_pFree = free->m_pNext;
        try {
            auto* node = new (static_cast<void*>(free)) Node{nullptr, nullptr, value};
            ++m_nCount;
            return node;
        } catch (...) { // the value could not be copied
            fnRecycle(free);
            if (m_nCount == 0)
                fnFreeBlocks();
            throw;
        }
    }

    /// Adds the memory of a node to the free list.
    void fnRecycle(void* room) { m_pFree = new (room) Free{m_pFree}; }

    void fnFreeBlocks() {
        assert(m_nCount == 0);
        m_pHead = m_pTail = nullptr;
        m_pFree = nullptr;
        if (m_pBlocks)
            m_pBlocks->FreeDataChain();
        m_pBlocks = nullptr;
    }

    Node* m_pHead = nullptr;
    Node* m_pTail = nullptr;
    Free* m_pFree = nullptr;
    CPlex* m_pBlocks = nullptr;
    int m_nCount = 0;
    int m_nBlockSize;
};
