// Other Jet files that statements name with `FROM table IN 'path'`. Each is
// found the way linked files are (the stored path, the same name beside the
// open file, then the folder mappings) and opened read-only once.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "jet/database.h"

namespace jet::sql {

class ExternalFiles {
 public:
  ExternalFiles(std::string beside_folder, std::vector<FolderMapping> mappings)
      : beside_folder_(std::move(beside_folder)), mappings_(std::move(mappings)) {}

  // The open file for `stored_path` and the path it was found at. 3024 when
  // no file is found; the reader's error when it is not a Jet file.
  Status Open(const std::string& stored_path, Database** db, std::string* found_path);
  // Forgets every open file, so the next statement reads them afresh.
  void Clear() { open_.clear(); }

 private:
  std::string beside_folder_;
  std::vector<FolderMapping> mappings_;
  std::map<std::string, std::unique_ptr<Database>> open_;  // by found path
};

}  // namespace jet::sql
