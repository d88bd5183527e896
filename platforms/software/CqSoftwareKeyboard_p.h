#pragma once

#include "q32Base/platform/CqKeyboardService.h"

/// No key is ever down.
class CqSoftwareKeyboard final : public CqKeyboardService {
public:
    bool fnIsKeyDown(int) override { return false; }
    bool fnIsKeyDownNow(int) override { return false; }
    bool fnTakeKeyMessage(CqKeyMessage&) override { return false; }
};
