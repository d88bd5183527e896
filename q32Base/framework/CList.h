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
    explicit CList(int blockSize = 10) : m_nBlockSize(blockSize) { assert(blockSize > 0); }
    ~CList() override { RemoveAll(); }

    int GetCount() const { return m_nCount; }
    bool IsEmpty() const { return m_nCount == 0; }

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
    TYPE& GetAt(POSITION position) { return fnNode(position)->m_Value; }
    const TYPE& GetAt(POSITION position) const { return fnNode(position)->m_Value; }

    /// Appends at the tail. If memory is exhausted, raises the memory exception; the list is then
    /// unchanged.
    POSITION AddTail(ARG_TYPE value) {
        Node* node = fnNewNode(value);
        node->m_pPrevious = m_pTail;
        (m_pTail ? m_pTail->m_pNext : m_pHead) = node;
        m_pTail = node;
        return fnPosition(node);
    }
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
