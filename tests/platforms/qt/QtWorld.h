/// @file The library on the desktop back end, with its files in its own folder.
#pragma once

#include "platforms/qt/qt.h"
#include "q32Base/module/Module.h"

#include <gtest/gtest.h>

#include <memory>
#include <QDir>
#include <QTemporaryDir>
#include <string>

/// Base of tests of the desktop back end: attached to it from SetUp to TearDown.
class QtWorld : public testing::Test {
protected:
    CqQtOptions fnOptions() const {
        CqQtOptions options;
        options.m_Posix.m_szConfigDirectory = m_Folder.path().toStdString();
        options.m_Posix.m_szTempDirectory = m_Folder.path().toStdString();
        return options;
    }
    void fnAttach(const CqQtOptions& options) {
        m_Platform = q32QtPlatform(m_pWindows, options);
        ASSERT_TRUE(q32Attach(m_Platform));
    }
    void SetUp() override { fnAttach(fnOptions()); }
    void TearDown() override { q32Detach(); }

    QTemporaryDir m_Folder;
    std::shared_ptr<CqQtWindows> m_pWindows = q32QtWindows();
    CqPlatform m_Platform;
};
