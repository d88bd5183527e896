#include "q32Base/framework/CPlex.h"

#include "q32Base/framework/Exceptions.h"

#include <cassert>
#include <new>

CPlex* CPlex::Create(CPlex*& head, std::size_t count, std::size_t size) {
    assert(count > 0 && size > 0);
    void* block = ::operator new(sizeof(CPlex) + count * size, std::nothrow);
    if (!block)
        AfxThrowMemoryException();
    head = new (block) CPlex{head};
    return head;
}

void CPlex::FreeDataChain() {
    for (CPlex* block = this; block;) {
        CPlex* next = block->pNext;
        ::operator delete(block);
        block = next;
    }
}
