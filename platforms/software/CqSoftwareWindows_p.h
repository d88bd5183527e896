#pragma once

#include "q32Base/platform/CqWindowService.h"

/// There is no application and no window.
class CqSoftwareWindows final : public CqWindowService {
public:
    CWinApp* fnGetApp() override { return nullptr; }
    CWnd* fnGetMainWnd() override { return nullptr; }
};
