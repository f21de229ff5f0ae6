// CRegistry: the family's shared settings, kept under one main key below a
// registry root (the per-user one unless told otherwise). Reads and writes
// are quiet about every failure after the one check that a main key is set.
#pragma once

#include <QString>
#include <QStringList>

#include "platform/settings/settings_location.h"

// Raised (source "Nalt_Registry") when a read or write comes before the main
// key was set; callers report it through their own error trap.
constexpr int kRegistryMainKeyNotSet = 25000;

class CRegistry {
 public:
  void SetRegRootkey(unsigned root) { root_ = root; }
  unsigned RegRootkey() const { return root_; }

  // Kept ending in exactly one "\" so that sections can be appended.
  void SetRegMainKey(const QString& path);
  const QString& RegMainKey() const { return mainKey_; }

  // Writes the value, creating the section when needed; a failure is lost.
  void WriteRegistry(const QString& section, const QString& valueName, const QString& value);
  // The stored value, or the default when it is absent, empty or longer
  // than a read can take (2,047 characters).
  QString ReadRegistry(const QString& section, const QString& valueName, const QString& defaultValue = QString()) const;

  // Held in memory only: nothing reads or writes a recent-files list yet.
  QStringList MRUFileList() const { return mruFileList_; }
  void SetMRUFileList(const QStringList& files) { mruFileList_ = files; }

 private:
  void CheckMainKey() const;
  QString ReadValue(const QString& section, const QString& valueName) const;
  void WriteValue(const QString& section, const QString& valueName, const QString& value);

  unsigned root_ = platform::HKEY_CURRENT_USER;
  QString mainKey_;
  QStringList mruFileList_;
};
