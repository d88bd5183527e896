// Shows pictures and plays sounds on Windows: the smallest host with a window of the system's own.
#include "examples/viewer/Commands.h"
#include "examples/viewer/Frame.h"
#include "q32Base/q32Base.h"

#include <cwchar>
#include <shellapi.h>
#include <string>
#include <vector>

namespace {

std::vector<std::string> fnGetArguments() {
    int count = 0;
    wchar_t** const words = ::CommandLineToArgvW(::GetCommandLineW(), &count);
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i) {
        std::string bytes(4 * std::wcslen(words[i]) + 1, '\0');
        ::WideCharToMultiByte(CP_UTF8, 0, words[i], -1, bytes.data(),
                              static_cast<int>(bytes.size()), nullptr, nullptr);
        arguments.emplace_back(bytes.c_str());
    }
    ::LocalFree(words);
    return arguments;
}

int fnRun(CqWin32Windows& windows, int show) {
    Frame frame(windows);
    if (!frame.fnGetHandle())
        return 1;
    ::ShowWindow(frame.fnGetHandle(), show);
    for (const std::string& path : fnGetArguments())
        frame.fnOpen(path);
    const HACCEL keys =
        ::LoadAcceleratorsW(::GetModuleHandleW(nullptr), MAKEINTRESOURCEW(MENU_MAIN));
    MSG message;
    while (::GetMessageW(&message, nullptr, 0, 0) > 0) {
        if (::TranslateAcceleratorW(frame.fnGetHandle(), keys, &message))
            continue;
        ::TranslateMessage(&message);
        ::DispatchMessageW(&message);
        frame.fnShowFailures();
    }
    return 0;
}

} // namespace

int WINAPI WinMain(HINSTANCE, HINSTANCE, LPSTR, int show) {
    CqWin32Options options;
    options.m_nCodePage = CP_UTF8; // as the manifest says, also where the system doesn't read that
    const auto windows = q32Win32Windows();
    return q32RunHost(q32Win32Platform(windows, options), [&] { return fnRun(*windows, show); });
}
