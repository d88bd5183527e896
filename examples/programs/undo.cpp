// Changes a picture three times, steps back twice and forward once.
#include "platforms/posix/posix.h"
#include "q32Base/q32Base.h"

#include <cstdio>
#include <memory>

namespace {

/// A picture with a history. A snapshot is an image of its own.
class Document {
public:
    Document() : m_Image(64, 64, 24) {
        m_History.fnCreate(nullptr, 10, nullptr); // ten steps; no document flag, no toolbar
        m_Image.fnFill({100, 100, 100}, nullptr, false);
    }

    void fnBrighten(int percent) {
        m_History.fnAddUndoBuf(new CqImage(m_Image), 0); // the state before the change
        m_Image.fnBrightContrast(percent, 0, false, nullptr);
        fnShow("brighter");
    }
    void fnUndo() {
        if (m_History.fnCanUndo())
            fnRestore(m_History.fnUndo(new CqImage(m_Image), 0, nullptr));
        fnShow("undone");
    }
    void fnRedo() {
        if (m_History.fnCanRedo())
            fnRestore(m_History.fnRedo(new CqImage(m_Image), 0, nullptr));
        fnShow("redone");
    }

private:
    /// Takes ownership of a snapshot.
    void fnRestore(CObject* snapshot) {
        const std::unique_ptr<CqImage> image(static_cast<CqImage*>(snapshot));
        m_Image.fnSwapBuf(*image); // exchanges the pixels, and copies none
    }
    void fnShow(const char* what) {
        std::printf("%s: %d\n", what, m_Image.fnGetPixelColor(0, 0).m_Red);
    }

    CqImage m_Image;
    CqUndoMngr m_History;
};

} // namespace

int main() {
    return q32RunHost(q32PosixPlatform(), [] {
        Document document;
        for (int i = 0; i < 3; ++i)
            document.fnBrighten(10);
        document.fnUndo();
        document.fnUndo();
        document.fnRedo();
        return 0;
    });
}
