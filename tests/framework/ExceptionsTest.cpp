#include "q32Base/framework/CFileException.h"
#include "q32Base/framework/Memory.h"
#include "tests/support/FailingAllocator.h"

#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <stdexcept>
#include <string>

namespace {

template <typename Failure, typename Work>
Failure* fnCaught(Work&& work) {
    try {
        work();
    } catch (CException* failure) {
        return dynamic_cast<Failure*>(failure);
    }
    return nullptr;
}

struct Made {
    explicit Made(bool fails) {
        if (fails)
            throw std::bad_alloc();
    }
    int m_nValue = 3;
};

} // namespace

TEST(Exceptions, RaisingTheMemoryExceptionAllocatesNothing) {
    const CqAllocationFailure failure(1, true);
    for (int i = 0; i < 3; ++i) {
        auto* caught = fnCaught<CMemoryException>([] { AfxThrowMemoryException(); });
        ASSERT_NE(caught, nullptr);
        caught->Delete();
    }
    auto* resource = fnCaught<CResourceException>([] { AfxThrowResourceException(); });
    ASSERT_NE(resource, nullptr);
    resource->Delete();
    EXPECT_FALSE(failure.fnHappened());
}

TEST(Exceptions, AFileExceptionIsFreedByDelete) {
    const auto outstanding = CqAllocationFailure::fnOutstanding();
    auto* caught =
        fnCaught<CFileException>([] { AfxThrowFileException(FILE_CAUSE_DISK_FULL, "a.txt"); });
    ASSERT_NE(caught, nullptr);
    EXPECT_EQ(caught->m_cause, FILE_CAUSE_DISK_FULL);
    EXPECT_STREQ(caught->m_strFileName, "a.txt");
    caught->Delete();
    EXPECT_EQ(CqAllocationFailure::fnOutstanding(), outstanding);
}

TEST(Exceptions, AFailureBecomesTheMemoryExceptionWhenItCannotBeAllocated) {
    const auto outstanding = CqAllocationFailure::fnOutstanding();
    for (std::size_t nth : {1u, 2u}) {
        const CqAllocationFailure failure(nth);
        auto* caught = fnCaught<CMemoryException>(
            [] { AfxThrowFileException(FILE_CAUSE_DISK_FULL, "a.txt"); });
        ASSERT_NE(caught, nullptr);
        EXPECT_TRUE(failure.fnHappened());
    }
    {
        const CqAllocationFailure failure(1);
        EXPECT_NE(fnCaught<CMemoryException>(
                      [] { AfxThrowArchiveException(CArchiveException::endOfFile); }),
                  nullptr);
    }
    EXPECT_EQ(CqAllocationFailure::fnOutstanding(), outstanding);
}

TEST(Exceptions, ReportTheirClasses) {
    auto* caught =
        fnCaught<CException>([] { AfxThrowArchiveException(CArchiveException::readOnly); });
    ASSERT_NE(caught, nullptr);
    EXPECT_TRUE(caught->IsKindOf(&CArchiveException::classCArchiveException));
    EXPECT_TRUE(caught->IsKindOf(&CException::classCException));
    EXPECT_TRUE(caught->IsKindOf(&CObject::classCObject));
    EXPECT_FALSE(caught->IsKindOf(&CFileException::classCFileException));
    EXPECT_STREQ(caught->GetRuntimeClass()->m_lpszClassName, "CArchiveException");
    EXPECT_EQ(caught->GetRuntimeClass()->CreateObject(), nullptr);
    caught->Delete();
    CMemoryException memory;
    EXPECT_STREQ(memory.GetRuntimeClass()->m_lpszClassName, "CMemoryException");
    CResourceException resource;
    EXPECT_STREQ(resource.GetRuntimeClass()->m_lpszClassName, "CResourceException");
}

TEST(Memory, FailuresRaiseTheMemoryException) {
    const auto outstanding = CqAllocationFailure::fnOutstanding();
    {
        const CqAllocationFailure failure(1);
        EXPECT_THROW(q32::fnNew<Made>(false), CMemoryException*);
    }
    {
        const CqAllocationFailure failure(1);
        EXPECT_THROW(q32::fnNewArray<int>(10), CMemoryException*);
    }
    EXPECT_THROW(q32::fnNewArray<int>(static_cast<std::size_t>(-1)), CMemoryException*);
    EXPECT_THROW(q32::fnGuardMemory([] { throw std::bad_alloc(); }), CMemoryException*);
    EXPECT_THROW(q32::fnGuardMemory([] { q32::fnNew<Made>(true); }), CMemoryException*);
    EXPECT_THROW(q32::fnGuardMemory([] { AfxThrowResourceException(); }), CResourceException*);
    EXPECT_EQ(CqAllocationFailure::fnOutstanding(), outstanding);
}

TEST(Memory, ATryEndsBothFormsOfTheFailure) {
    const auto outstanding = CqAllocationFailure::fnOutstanding();
    EXPECT_FALSE(q32::fnTryMemory([] { throw std::bad_alloc(); }));
    EXPECT_FALSE(q32::fnTryMemory([] { AfxThrowMemoryException(); }));
    EXPECT_FALSE(q32::fnTryMemory([]() -> bool { throw std::bad_alloc(); }));
    EXPECT_EQ(q32::fnTryMemoryOr(-1, []() -> int { throw std::bad_alloc(); }), -1);
    EXPECT_EQ(q32::fnTryMemoryOr(-1, []() -> int { AfxThrowMemoryException(); }), -1);
    EXPECT_EQ(CqAllocationFailure::fnOutstanding(), outstanding);
}

TEST(Memory, ATryPassesResultsAndOtherFailuresOn) {
    int runs = 0;
    EXPECT_TRUE(q32::fnTryMemory([&] { ++runs; }));
    EXPECT_EQ(runs, 1);
    EXPECT_TRUE(q32::fnTryMemory([] { return true; }));
    EXPECT_FALSE(q32::fnTryMemory([] { return false; }));
    EXPECT_EQ(q32::fnTryMemoryOr(-1, [] { return 7; }), 7);
    EXPECT_EQ(*q32::fnTryMemoryOr(std::unique_ptr<int>(), [] { return std::make_unique<int>(3); }),
              3);
    EXPECT_THROW(q32::fnTryMemory([] { AfxThrowResourceException(); }), CResourceException*);
    EXPECT_THROW(q32::fnTryMemory([] { throw std::runtime_error("other"); }), std::runtime_error);
}

TEST(Memory, TheGuardPassesResultsOn) {
    std::string text = "abc";
    EXPECT_EQ(q32::fnGuardMemory([] { return 7; }), 7);
    std::string& same = q32::fnGuardMemory([&]() -> std::string& { return text; });
    EXPECT_EQ(&same, &text);
    Made* made = q32::fnNew<Made>(false);
    EXPECT_EQ(made->m_nValue, 3);
    delete made;
}
