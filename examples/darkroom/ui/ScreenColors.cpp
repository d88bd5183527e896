#include "examples/darkroom/ui/ScreenColors.h"

#ifdef DARKROOM_LCMS
#include <algorithm>
#include <array>
#include <bit>
#include <lcms2.h>
#include <memory>
#endif

namespace darkroom {

#ifdef DARKROOM_LCMS

namespace {

struct Close {
    void operator()(void* profile) const { cmsCloseProfile(profile); }
};
using Profile = std::unique_ptr<void, Close>;
using Transform = std::shared_ptr<void>;

constexpr cmsUInt32Number kScreen =
    std::endian::native == std::endian::little ? TYPE_BGRA_8 : TYPE_ARGB_8;

void fnConvertGrey(const Transform& transform, QRgb* row, int count) {
    std::array<unsigned char, 256> values;
    while (count > 0) {
        const int piece = std::min(count, static_cast<int>(values.size()));
        std::transform(row, row + piece, values.begin(),
                       [](QRgb pixel) { return static_cast<unsigned char>(qGreen(pixel)); });
        cmsDoTransform(transform.get(), values.data(), row, static_cast<cmsUInt32Number>(piece));
        for (int i = 0; i < piece; ++i)
            row[i] |= 0xFF000000u;
        row += piece;
        count -= piece;
    }
}

} // namespace

CqImageView::ColorConversion fnMakeScreenColors(const std::vector<unsigned char>& profile,
                                                bool grey) {
    const Profile from(
        cmsOpenProfileFromMem(profile.data(), static_cast<cmsUInt32Number>(profile.size())));
    const Profile to(cmsCreate_sRGBProfile());
    if (!from || !to || cmsGetColorSpace(from.get()) != (grey ? cmsSigGrayData : cmsSigRgbData))
        return {};
    cmsHTRANSFORM made = cmsCreateTransform(
        from.get(), grey ? TYPE_GRAY_8 : kScreen, to.get(), kScreen, INTENT_RELATIVE_COLORIMETRIC,
        cmsFLAGS_BLACKPOINTCOMPENSATION | (grey ? 0u : cmsFLAGS_COPY_ALPHA));
    if (!made)
        return {};
    const Transform transform(made, cmsDeleteTransform);
    if (grey)
        return [transform](QRgb* row, int count) { fnConvertGrey(transform, row, count); };
    return [transform](QRgb* row, int count) {
        cmsDoTransform(transform.get(), row, row, static_cast<cmsUInt32Number>(count));
    };
}

#else

CqImageView::ColorConversion fnMakeScreenColors(const std::vector<unsigned char>&, bool) {
    return {};
}

#endif

} // namespace darkroom
