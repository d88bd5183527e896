#pragma once

#include "tests/support/LabCard.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <unistd.h>

/// The test's own sound cards, for ALSA in this process: "lab" with everything, "plain" without
/// bass and treble, "mono" with one channel. All three are one file.
class LabCardFile {
public:
    /// Throws std::runtime_error.
    LabCardFile() {
        char folder[] = "/tmp/q32cardXXXXXX";
        if (!::mkdtemp(folder))
            throw std::runtime_error("no folder for the card");
        m_szFolder = folder;
        std::ofstream settings(m_szFolder + "/asound.conf");
        settings << "ctl_type.lab { lib \"" Q32_TEST_CARD "\" }\n";
        for (const char* kind : {"lab { tone true channels 2", "plain { tone false channels 2",
                                 "mono { tone true channels 1"})
            settings << "ctl." << kind << " type lab file \"" << m_szFolder << "/card\" }\n";
        settings.close();
        ::setenv("ALSA_CONFIG_PATH", (m_szFolder + "/asound.conf").c_str(), 1);
        fnWriteCard({});
    }
    ~LabCardFile() {
        std::error_code ignored;
        std::filesystem::remove_all(m_szFolder, ignored);
    }
    LabCardFile(const LabCardFile&) = delete;
    LabCardFile& operator=(const LabCardFile&) = delete;

    /// Changes the controls from outside.
    void fnWriteCard(const LabCard& card) {
        std::fstream file(m_szFolder + "/card",
                          m_bMade ? std::ios::in | std::ios::out | std::ios::binary
                                  : std::ios::out | std::ios::binary);
        m_bMade = true;
        file.write(reinterpret_cast<const char*>(&card), sizeof card);
    }
    LabCard fnGet() const {
        LabCard card;
        std::ifstream(m_szFolder + "/card", std::ios::binary)
            .read(reinterpret_cast<char*>(&card), sizeof card);
        return card;
    }

private:
    std::string m_szFolder;
    bool m_bMade = false;
};
