// Exercises what crosses the boundary between a host and the installed library: strings, instances
// of the library's templates, run-time classes, and failures thrown as pointers, in both
// directions.
#include "q32Base/framework/Framework.h"
#include "q32Base/platform/CqPlatform.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace {

// Not assert: the host is also built without assertions.
void fnRequire(bool truth, const char* sentence) {
    if (truth)
        return;
    std::fprintf(stderr, "not so: %s\n", sentence);
    std::exit(EXIT_FAILURE);
}

/// A file on a full disk.
class FullFile final : public CFile {
public:
    void Write(const void*, std::size_t) override {
        m_bAsked = true;
        AfxThrowFileException(FILE_CAUSE_DISK_FULL, "full");
    }
    bool m_bAsked = false;
};

/// A palette that counts how often it is set.
class CountedPalette final : public CqPaletteObject {
public:
    using CqPaletteObject::CqPaletteObject;
    UINT fnSetEntries(UINT first, UINT count, const PALETTEENTRY* entries) override {
        ++m_nSets;
        return CqPaletteObject::fnSetEntries(first, count, entries);
    }
    int m_nSets = 0;
};

void fnCheckStrings() {
    CString text("tile");
    text += 's';
    const CString copy = text;
    text.Format("%s by %d", static_cast<const char*>(copy), 128);
    fnRequire(text == "tiles by 128" && copy == "tiles", "strings work");
}

void fnCheckFailuresFromTheLibrary() {
    bool caught = false;
    try {
        AfxThrowMemoryException();
    } catch (CException* failure) {
        caught = failure->IsKindOf(&CMemoryException::classCMemoryException) &&
                 dynamic_cast<CMemoryException*>(failure) != nullptr;
        failure->Delete();
    }
    fnRequire(caught, "the library's failure is caught by its base class");

    caught = false;
    try {
        AfxThrowFileException(FILE_CAUSE_DISK_FULL, "full");
    } catch (CFileException* failure) {
        caught = failure->m_cause == FILE_CAUSE_DISK_FULL && failure->m_strFileName == "full";
        failure->Delete();
    }
    fnRequire(caught, "the library's failure is caught by its own class");
}

void fnCheckFailuresFromTheHost() {
    FullFile file;
    {
        CArchive archive(&file, CArchive::store);
        archive << std::uint32_t{1};
    }
    fnRequire(file.m_bAsked, "an archive catches its file's failure as it ends");
}

void fnCheckClassesOfTheHost() {
    CDWordArray array;
    array.Add(7);
    const CObject& base = array;
    fnRequire(dynamic_cast<const CDWordArray*>(&base) == &array && array[0] == 7,
              "a container made here is known by its class");
    fnRequire(base.IsKindOf(&CObject::classCObject), "a class of the host is a CObject");

    CountedPalette palette(std::vector<PALETTEENTRY>(2));
    CqPaletteObject& object = palette;
    const PALETTEENTRY entry{};
    fnRequire(object.fnSetEntries(1, 5, &entry) == 1 && palette.m_nSets == 1,
              "a host's palette builds on the library's");
    fnRequire(!CqPlatform().fnIsComplete(), "an empty platform is incomplete");
}

} // namespace

int main() {
    fnCheckStrings();
    fnCheckFailuresFromTheLibrary();
    fnCheckFailuresFromTheHost();
    fnCheckClassesOfTheHost();
    return EXIT_SUCCESS;
}
