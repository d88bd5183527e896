#include "plugins/JpegHandle_p.h"

#include <cstdio>
#include <jerror.h>

namespace q32 {

namespace {

[[noreturn]] void fnOnError(j_common_ptr jpeg) {
    auto& state = *static_cast<JpegState*>(jpeg->client_data);
    switch (jpeg->err->msg_code) {
    case JERR_OUT_OF_MEMORY:
        state.m_Failure = {MESSAGE_NO_MEMORY};
        break;
    case JERR_NO_BACKING_STORE:
        state.m_Failure = {MESSAGE_NO_MEMORY, PICTURE_LIMIT_CODEC};
        break;
    case JERR_ARITH_NOTIMPL:
    case JERR_BAD_PRECISION:
    case JERR_CONVERSION_NOTIMPL:
    case JERR_SOF_UNSUPPORTED:
        state.m_Failure = {MESSAGE_UNSUPPORTED};
        break;
    default:
        break;
    }
    std::longjmp(state.m_Jump, 1);
}

/// Except for those about bytes between segments and about versions, a warning means that pixels
/// were invented.
void fnOnMessage(j_common_ptr jpeg, int level) {
    const int code = jpeg->err->msg_code;
    const bool harmless = level >= 0 || code == JWRN_EXTRANEOUS_DATA || code == JWRN_JFIF_MAJOR ||
                          code == JWRN_ADOBE_XFORM || code == JWRN_TOO_MUCH_DATA;
    auto& state = *static_cast<JpegState*>(jpeg->client_data);
    state.m_bDamaged = state.m_bDamaged || !harmless;
    if (!harmless && !state.m_bLenient)
        fnOnError(jpeg);
}

} // namespace

JpegState::JpegState() {
    jpeg_std_error(&m_Errors);
    m_Errors.error_exit = fnOnError;
    m_Errors.emit_message = fnOnMessage;
    m_Errors.output_message = [](j_common_ptr) {};
}

void fnFailJpeg(j_common_ptr jpeg, int code) {
    jpeg->err->msg_code = code;
    fnOnError(jpeg);
}

} // namespace q32
