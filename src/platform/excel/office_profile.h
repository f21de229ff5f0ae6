// The office's private user profile: kept apart from the user's own office
// settings, and set up so that the VBA code of .xls workbooks loads and runs.
#pragma once

#include <QString>

namespace excel {

class OfficeProfile {
 public:
  // Claims the first profile folder under the user's cache folder that no
  // other process of ours holds, so that two programs never share one office.
  OfficeProfile();
  ~OfficeProfile();
  OfficeProfile(const OfficeProfile&) = delete;
  OfficeProfile& operator=(const OfficeProfile&) = delete;

  QString Folder() const { return folder_; }
  QString Url() const;  // as -env:UserInstallation takes it

 private:
  void WriteSettings() const;

  QString folder_;
  int lock_fd_ = -1;
};

}  // namespace excel
