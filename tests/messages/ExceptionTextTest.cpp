#include "q32Base/framework/CFileException.h"
#include "q32Base/messages/Messages.h"
#include "tests/support/FailingAllocator.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace {

std::string fnText(const CException& exception) {
    return static_cast<const char*>(q32ExceptionText(exception));
}

} // namespace

TEST(ExceptionText, TheMemoryExceptionNamesItselfByItsMessage) {
    EXPECT_EQ(fnText(CMemoryException()),
              "Insufficient memory. Please close other programs\nto free up system resources.");
}

TEST(ExceptionText, AFileExceptionNamesTheFileAndTheCause) {
    EXPECT_EQ(fnText(CFileException(FILE_CAUSE_DISK_FULL, "a.bmp")),
              "The file [a.bmp] cannot be used: the disk is full.");
    EXPECT_EQ(fnText(CFileException(FILE_CAUSE_GENERIC, "a.bmp")),
              "The file [a.bmp] cannot be used: an error of the system.");
}

TEST(ExceptionText, CausesThatDifferForTheUserHaveTextsOfTheirOwn) {
    std::set<std::string> texts;
    for (int cause = FILE_CAUSE_GENERIC; cause <= FILE_CAUSE_END_OF_FILE; ++cause)
        texts.insert(fnText(CFileException(static_cast<CQ_FILE_CAUSE>(cause), "a")));
    // Two causes each are a bad path, and a file that is open elsewhere.
    EXPECT_EQ(texts.size(), 14u - 2);
    std::set<std::string> archives;
    for (int cause = CArchiveException::none; cause <= CArchiveException::writeOnly; ++cause)
        archives.insert(fnText(CArchiveException(static_cast<CArchiveException::CAUSE>(cause))));
    EXPECT_EQ(archives.size(), 4u);
    EXPECT_EQ(archives.count("The data ends early."), 1u);
}

TEST(ExceptionText, AResourceExceptionSaysWhatIsMissing) {
    EXPECT_EQ(fnText(CResourceException()),
              "A resource of the program is missing or cannot be read.");
}

TEST(ExceptionText, WithoutMemoryTheTextIsEmpty) {
    const CFileException exception(FILE_CAUSE_DISK_FULL, "a.bmp");
    for (std::size_t i = 1; i <= 2; ++i) {
        CqAllocationFailure failure(i, true);
        const CString text = q32ExceptionText(exception);
        failure.fnEnd();
        EXPECT_STREQ(text, "");
    }
}

TEST(ExceptionText, CausesAndClassesThatItDoesNotKnowHaveGeneralTexts) {
    const std::string general = "The file [a] cannot be used: an error of the system.";
    EXPECT_EQ(fnText(CFileException(FILE_CAUSE_NONE, "a")), general);
    struct OwnException : CException {
        OwnException() : CException(true) {}
    };
    EXPECT_EQ(fnText(OwnException()), "An operation has failed.");
}
