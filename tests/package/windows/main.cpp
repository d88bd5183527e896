// Uses a bit of each library, and what crosses the border between them.
#include "platforms/win32/CqWin32View.h"
#include "platforms/win32/win32.h"
#include "plugins/PictureFile.h"
#include "q32Base/q32Base.h"

#include <cstdio>
#include <memory>
#include <string>
#include <utility>

namespace {

/// An exception of the library arrives as what it was thrown.
bool fnCatchesExceptions() {
    try {
        CqWave sound;
        sound.fnLoad(12345); // no such resource
    } catch (CResourceException* failure) {
        failure->Delete();
        return true;
    } catch (...) {
    }
    return false;
}

/// Classes are known on both sides.
bool fnKnowsClasses() {
    const CqWave wave;
    const std::shared_ptr<CqWindowService> windows = q32Win32Windows();
    return wave.GetRuntimeClass() == &CqWave::classCqWave &&
           std::dynamic_pointer_cast<CqWin32Windows>(windows) != nullptr;
}

/// A class of windows belongs to the DLL with its procedure, and goes with its last window.
bool fnRemovesClasses() {
    const HINSTANCE library = ::GetModuleHandleW(L"libq32Base-win32.dll");
    const HWND frame = ::CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 50, 50, nullptr,
                                         nullptr, nullptr, nullptr);
    WNDCLASSW kind{};
    bool isThere = false;
    {
        const CqWin32View view(frame, RECT{0, 0, 50, 50}, 1);
        isThere = view.IsWindow() && library && library != ::GetModuleHandleW(nullptr) &&
                  ::GetClassInfoW(library, L"q32View", &kind);
    }
    ::DestroyWindow(frame);
    return isThere && !::GetClassInfoW(library, L"q32View", &kind);
}

bool fnWritesAndReads(const std::string& path) {
    CqImage image(30, 20, 24);
    image.fnFill(CqColor(255, 255, 255), nullptr, false); // which JPEG stores exactly
    CqImage again;
    return q32WritePicture(path.c_str(), image).fnIsDone() &&
           q32ReadPicture(path.c_str(), again).fnIsDone() && again.Width == 30 &&
           again.fnGetPixelColor(29, 19).m_Blue == 255;
}

} // namespace

int main() {
    return q32RunHost(q32Win32Platform(q32Win32Windows()), [] {
        const std::pair<const char*, bool> results[] = {
            {"exceptions", fnCatchesExceptions()},
            {"classes", fnKnowsClasses()},
            {"windows", fnRemovesClasses()},
            {"PNG", fnWritesAndReads("consumer.png")},
            {"JPEG", fnWritesAndReads("consumer.jpg")},
            {"TIFF", fnWritesAndReads("consumer.tif")},
        };
        int failed = 0;
        for (const auto& [what, good] : results)
            if (!good) {
                ++failed;
                std::printf("failed: %s\n", what);
            }
        return failed;
    });
}
