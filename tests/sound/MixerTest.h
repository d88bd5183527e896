#pragma once

#include "tests/support/AttachedTest.h"

#include <functional>
#include <utility>
#include <vector>

namespace q32::test {

using Values = std::vector<std::uint32_t>;

/// A parent window that records the notifications of its children.
class NotifiedWnd : public CqHeadlessWnd {
public:
    NotifiedWnd() : CqHeadlessWnd({10, 10, 60, 40}) {}

    LRESULT SendMessage(UINT message, WPARAM wParam, LPARAM lParam) override {
        EXPECT_EQ(message, WM_NOTIFY);
        m_nLastWParam = wParam;
        const NMHDR header = *reinterpret_cast<const NMHDR*>(lParam);
        m_Notified.push_back(header);
        if (m_OnNotify)
            m_OnNotify(header);
        return 0;
    }

    /// The codes reported so far, in order; clears the record.
    std::vector<UINT> fnTakeCodes() {
        std::vector<UINT> codes;
        for (const NMHDR& header : std::exchange(m_Notified, {}))
            codes.push_back(header.code);
        return codes;
    }

    std::vector<NMHDR> m_Notified;
    WPARAM m_nLastWParam = 0;
    std::function<void(const NMHDR&)> m_OnNotify;
};

class MixerTest : public AttachedTest {
protected:
    CqHeadlessMixers& fnMixers() { return *m_World->m_pMixers; }

    NotifiedWnd m_Parent;
};

} // namespace q32::test
