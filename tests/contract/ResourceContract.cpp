#include "tests/contract/ContractBackEnd.h"

#include <cstdint>
#include <cstring>
#include <optional>
#include <string>

namespace {

class ResourceContract : public ContractTest {
protected:
    static constexpr WORD kSound = 300; ///< a type defined by the host

    /// The bytes; none when the resource is missing.
    std::optional<std::string> fnFind(HINSTANCE module, CqResourceId type, CqResourceId name) {
        CqResourceData data;
        if (!m_Resources.fnFind(module, type, name, data))
            return std::nullopt;
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(data.m_pBytes) % 4, 0u);
        return std::string(static_cast<const char*>(data.m_pBytes), data.m_nSize);
    }
    std::optional<std::string> fnLoad(HINSTANCE module, UINT id) {
        std::string text = "as it was";
        if (m_Resources.fnLoadString(module, id, text))
            return text;
        EXPECT_EQ(text, "as it was");
        return std::nullopt;
    }

    CqResourceService& m_Resources = *m_World.m_Platform.m_pResources;
    ContractModules& m_Modules = *m_World.m_pModules;
    const HINSTANCE m_Module = m_Modules.fnAddModule();
};

TEST_P(ResourceContract, AnEmptyModuleHasNothing) {
    EXPECT_EQ(fnFind(m_Module, RT_BITMAP_ID, WORD{1}), std::nullopt);
    EXPECT_EQ(fnFind(m_Module, "SOUND", "HORN"), std::nullopt);
    EXPECT_EQ(fnFind(nullptr, RT_BITMAP_ID, WORD{1}), std::nullopt);
    EXPECT_EQ(fnLoad(m_Module, 1), std::nullopt);
    EXPECT_EQ(fnLoad(nullptr, 1), std::nullopt);
}

TEST_P(ResourceContract, AMissingResourceLeavesTheOutputUnchanged) {
    const char own = 'x';
    CqResourceData data{&own, 17};
    EXPECT_FALSE(m_Resources.fnFind(m_Module, kSound, WORD{1}, data));
    EXPECT_EQ(data.m_pBytes, &own);
    EXPECT_EQ(data.m_nSize, 17u);
}

TEST_P(ResourceContract, AResourceIsFoundByItsNumbersWithAllItsBytes) {
    const std::string bytes("\0\1two\0", 6);
    m_Modules.fnAdd(m_Module, kSound, WORD{7}, bytes);
    EXPECT_EQ(fnFind(m_Module, kSound, WORD{7}), bytes);
    EXPECT_EQ(fnFind(m_Module, kSound, WORD{8}), std::nullopt);
    EXPECT_EQ(fnFind(m_Module, RT_BITMAP_ID, WORD{7}), std::nullopt) << "another type";
    m_Modules.fnAdd(m_Module, kSound, WORD{0xFFFF}, "last");
    EXPECT_EQ(fnFind(m_Module, kSound, WORD{0xFFFF}), "last");
}

TEST_P(ResourceContract, AResourceIsFoundByItsNamesWhateverTheirCase) {
    m_Modules.fnAdd(m_Module, "Wave", "Horn", "toot");
    EXPECT_EQ(fnFind(m_Module, "Wave", "Horn"), "toot");
    EXPECT_EQ(fnFind(m_Module, "WAVE", "hORN"), "toot");
    EXPECT_EQ(fnFind(m_Module, "wave", "HORN2"), std::nullopt);
    EXPECT_EQ(fnFind(m_Module, "wav", "HORN"), std::nullopt);
}

TEST_P(ResourceContract, ANameOfDigitsIsNotANumber) {
    m_Modules.fnAdd(m_Module, kSound, "7", "by name");
    EXPECT_EQ(fnFind(m_Module, kSound, WORD{7}), std::nullopt);
    m_Modules.fnAdd(m_Module, kSound, WORD{7}, "by number");
    EXPECT_EQ(fnFind(m_Module, kSound, WORD{7}), "by number");
    EXPECT_EQ(fnFind(m_Module, kSound, "7"), "by name");
    EXPECT_EQ(fnFind(m_Module, "300", WORD{7}), std::nullopt) << "nor is a type's";
}

TEST_P(ResourceContract, AResourceMayBeEmpty) {
    m_Modules.fnAdd(m_Module, kSound, WORD{1}, "");
    CqResourceData data{nullptr, 5};
    EXPECT_TRUE(m_Resources.fnFind(m_Module, kSound, WORD{1}, data));
    EXPECT_EQ(data.m_nSize, 0u);
}

TEST_P(ResourceContract, EachModuleHasItsOwnAndWithoutOneTheyAreSearchedInOrder) {
    const HINSTANCE second = m_Modules.fnAddModule();
    m_Modules.fnAdd(second, kSound, WORD{1}, "second");
    EXPECT_EQ(fnFind(m_Module, kSound, WORD{1}), std::nullopt);
    EXPECT_EQ(fnFind(second, kSound, WORD{1}), "second");
    EXPECT_EQ(fnFind(nullptr, kSound, WORD{1}), "second");
    m_Modules.fnAdd(m_Module, kSound, WORD{1}, "first");
    EXPECT_EQ(fnFind(nullptr, kSound, WORD{1}), "first");
    EXPECT_EQ(fnFind(second, kSound, WORD{1}), "second");
}

TEST_P(ResourceContract, ARemovedModuleHasNothing) {
    m_Modules.fnAdd(m_Module, kSound, WORD{1}, "gone");
    m_Modules.fnAddString(m_Module, 5, "gone");
    m_Modules.fnRemoveModule(m_Module);
    EXPECT_EQ(fnFind(m_Module, kSound, WORD{1}), std::nullopt);
    EXPECT_EQ(fnFind(nullptr, kSound, WORD{1}), std::nullopt);
    EXPECT_EQ(fnLoad(m_Module, 5), std::nullopt);
    EXPECT_EQ(fnLoad(nullptr, 5), std::nullopt);
}

TEST_P(ResourceContract, BytesStayInPlaceWhileOthersComeAndGo) {
    m_Modules.fnAdd(m_Module, kSound, WORD{500}, "here to stay");
    CqResourceData data;
    ASSERT_TRUE(m_Resources.fnFind(m_Module, kSound, WORD{500}, data));
    for (WORD name = 0; name < 400; ++name)
        m_Modules.fnAdd(m_Module, kSound, name, std::string(name, 'x'));
    const HINSTANCE other = m_Modules.fnAddModule();
    m_Modules.fnAdd(other, kSound, WORD{500}, "other");
    m_Modules.fnRemoveModule(other);
    CqResourceData again;
    ASSERT_TRUE(m_Resources.fnFind(m_Module, kSound, WORD{500}, again));
    EXPECT_EQ(again.m_pBytes, data.m_pBytes);
    EXPECT_EQ(std::memcmp(data.m_pBytes, "here to stay", data.m_nSize), 0);
}

TEST_P(ResourceContract, AStringIsLoadedByItsIdFromAModuleOrFromAll) {
    const HINSTANCE second = m_Modules.fnAddModule();
    m_Modules.fnAddString(m_Module, 128, "one");
    m_Modules.fnAddString(second, 128, "two");
    m_Modules.fnAddString(second, 129, "only here");
    EXPECT_EQ(fnLoad(m_Module, 128), "one");
    EXPECT_EQ(fnLoad(second, 128), "two");
    EXPECT_EQ(fnLoad(nullptr, 128), "one");
    EXPECT_EQ(fnLoad(m_Module, 129), std::nullopt);
    EXPECT_EQ(fnLoad(nullptr, 129), "only here");
    EXPECT_EQ(fnLoad(nullptr, 127), std::nullopt);
}

TEST_P(ResourceContract, ACompiledBlockHoldsSixteenStrings) {
    // Block 3 holds the ids 32 to 47: each a count of 16-bit units, and the units.
    std::string block;
    for (int i = 0; i < 16; ++i) {
        const std::string text = i == 1 ? "tea" : i == 15 ? "last" : "";
        block += std::string{static_cast<char>(text.size()), '\0'};
        for (const char letter : text)
            block += std::string{letter, '\0'};
    }
    m_Modules.fnAdd(m_Module, RT_STRING_ID, WORD{3}, block);
    EXPECT_EQ(fnLoad(m_Module, 33), "tea");
    EXPECT_EQ(fnLoad(nullptr, 47), "last");
    EXPECT_EQ(fnLoad(m_Module, 32), std::nullopt) << "an empty entry is a missing one";
    EXPECT_EQ(fnLoad(m_Module, 48), std::nullopt);
    EXPECT_EQ(fnLoad(m_Module, 17), std::nullopt);
    EXPECT_EQ(fnLoad(m_Module, 0x10000u + 33), std::nullopt) << "ids have 16 bits";
}

TEST_P(ResourceContract, ATruncatedBlockHasOnlyItsCompleteStrings) {
    const std::string block("\2\0a\0b\0\3\0c\0", 10); // the second entry lacks two units
    m_Modules.fnAdd(m_Module, RT_STRING_ID, WORD{1}, block);
    EXPECT_EQ(fnLoad(m_Module, 0), "ab");
    for (UINT id = 1; id < 16; ++id)
        EXPECT_EQ(fnLoad(m_Module, id), std::nullopt) << id;
}

TEST_P(ResourceContract, TheLibrarysOwnModuleHasItsVersionAndIsNotOneOfTheHosts) {
    EXPECT_TRUE(fnFind(q32::fnModuleInstance(), RT_VERSION_ID, WORD{1}).has_value());
    EXPECT_EQ(fnFind(nullptr, RT_VERSION_ID, WORD{1}), std::nullopt);
    m_Modules.fnAdd(m_Module, RT_VERSION_ID, WORD{1}, "the host's");
    EXPECT_EQ(fnFind(nullptr, RT_VERSION_ID, WORD{1}), "the host's");
    EXPECT_NE(fnFind(q32::fnModuleInstance(), RT_VERSION_ID, WORD{1}), "the host's");
}

} // namespace

Q32_CONTRACT(ResourceContract, RESOURCES);
