#pragma once

#include "q32Base/platform/CqMessageService.h"

/// Shows no box and answers with its first button.
class CqSoftwareMessages final : public CqMessageService {
public:
    int fnShowBox(const char*, UINT style, const char*) override {
        constexpr UINT kButtonMask = 0xF;
        const UINT buttons = style & kButtonMask;
        return buttons == MB_YESNO || buttons == MB_YESNOCANCEL ? IDYES : IDOK;
    }
    DWORD fnGetLastError() override { return 0; }
    bool fnFormatError(DWORD, std::string&) override { return false; }
};
