#include "plugins/WebFormats.h"

#include "plugins/WebFormats_p.h"

bool q32AddWebFormats() {
    static const q32::GifCodec gif;
    static const q32::WebpCodec webp;
    static const bool added = q32AddPictureFormat(gif) && q32AddPictureFormat(webp);
    return added;
}
