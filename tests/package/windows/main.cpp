// Uses a bit of each library, and what crosses the border between them.
#include "platforms/win32/win32.h"
#include "plugins/PictureFile.h"
#include "q32Base/q32Base.h"

#include <cstdio>
#include <string>

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
    const std::unique_ptr<CObject> object(CqWave::classCqWave.CreateObject());
    return dynamic_cast<CqWave*>(object.get()) != nullptr && object->IsKindOf(&CqWave::classCqWave);
}

bool fnWritesAndReads(const std::string& path) {
    CqImage image(30, 20, 24);
    image.fnFill(CqColor(1, 2, 3), nullptr, false);
    CqImage again;
    return q32WritePicture(path.c_str(), image).fnIsDone() &&
           q32ReadPicture(path.c_str(), again).fnIsDone() && again.Width == 30 &&
           again.fnGetPixelColor(29, 19).m_Blue == 3;
}

} // namespace

int main() {
    return q32RunHost(q32Win32Platform(q32Win32Windows()), [] {
        const bool results[] = {fnCatchesExceptions(), fnKnowsClasses(),
                                fnWritesAndReads("consumer.png"), fnWritesAndReads("consumer.jpg"),
                                fnWritesAndReads("consumer.tif")};
        int failed = 0;
        for (const bool good : results)
            failed += good ? 0 : 1;
        std::printf("%d failed\n", failed);
        return failed;
    });
}
