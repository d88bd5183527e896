#include "examples/gallery/Saving.h"

#include "plugins/PictureFile.h"
#include "q32Base/messages/Messages.h"

void fnSavePicture(const std::string& path, CqImage& image) {
    const CqPictureResult result = q32WritePicture(path.c_str(), image, PICTURE_PNG);
    if (result.fnIsDone())
        return;
    q32ShowMsg(result.m_nMsgId, nullptr, result.m_strPath, nullptr, 0);
    throw Unshown();
}
