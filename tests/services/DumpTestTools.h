/// @file
/// A stream with accessible internals, and a test with a world around the dump window.
#pragma once

#include "tests/support/AttachedTest.h"

#include <string>

class OpenDumpBin : public CqDumpBin {
public:
    using CqDumpBin::fnOutputString;
    using CqDumpBin::m_nCapacity;
    using CqDumpBin::m_nLength;
    using CqDumpBin::m_pBuffer;
    using CqDumpBin::m_szFloatFmt;

    std::string fnGetText() const { return std::string(m_pBuffer ? m_pBuffer : "", m_nLength); }
    /// Whether the buffer after the text is all zero.
    bool fnHasCleanTail() const {
        for (std::uint32_t i = m_nLength; i < m_nCapacity; ++i)
            if (m_pBuffer[i] != 0)
                return false;
        return m_nCapacity == 0 || m_nLength < m_nCapacity;
    }
};

/// The window's rectangle without a layout.
inline const CRect kDefaultDumpPlace(22, 22, 22 + 480, 22 + 330);

/// The float format is shared by all streams: each test begins and ends with the initial one.
class DumpTest : public AttachedTest {
protected:
    void TearDown() override {
        CqDumpBin().fnSetFloatFormat("%.02f");
        AttachedTest::TearDown();
    }
    /// Creates the window with these lines in its section of the settings.
    CqHeadlessDumpView& fnOpen(const std::string& lines = "") {
        q32DestroyDumpWnd();
        m_World->fnSetSettings("[DumpWnd]\r\n" + lines);
        EXPECT_TRUE(q32CreateDumpWnd());
        return *fnView();
    }
    CqHeadlessDumpView* fnView() const { return m_World->m_pWindows->fnGetDumpView(); }
    CqHeadlessDumpDesk& fnGetDesk() const { return *m_World->m_pWindows->m_pDump; }
    const std::vector<CqHeadlessBox>& fnGetBoxes() const {
        return m_World->m_pMessages->fnGetBoxes();
    }
};
