// A private XDG config folder (and system folder) for one test, so that the
// settings code runs for real without reading or changing the user's own.
#pragma once

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <ostream>

inline void PrintTo(const QString& text, std::ostream* out) { *out << '"' << text.toStdString() << '"'; }

class ScratchConfig : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(home_.isValid());
    QDir(home_.path()).mkpath(QStringLiteral("system"));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(UserFolder()));
    qputenv("XDG_CONFIG_DIRS", QFile::encodeName(SystemFolder()));
    ASSERT_EQ(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation), UserFolder());
  }

  QString UserFolder() const { return home_.path() + QStringLiteral("/user"); }
  QString SystemFolder() const { return home_.path() + QStringLiteral("/system"); }
  QString FamilyFile(const QString& name) const {
    return UserFolder() + QStringLiteral("/Varnel Technologies/") + name + QStringLiteral(".conf");
  }

 private:
  QTemporaryDir home_;
};
