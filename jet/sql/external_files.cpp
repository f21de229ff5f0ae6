#include "sql/external_files.h"

namespace jet::sql {

Status ExternalFiles::Open(const std::string& stored_path, Database** db, std::string* found_path) {
  auto found = ResolveStoredPath(stored_path, beside_folder_, mappings_);
  if (!found) return Status::NotFound("Could not find file '" + stored_path + "'.", 3024);
  *found_path = *found;
  auto it = open_.find(*found);
  if (it == open_.end()) {
    OpenOptions options;
    options.folder_mappings = mappings_;
    std::unique_ptr<Database> opened;
    JET_RETURN_IF_ERROR(Database::Open(*found, options, &opened));
    it = open_.emplace(*found, std::move(opened)).first;
  }
  *db = it->second.get();
  return Status::OK();
}

}  // namespace jet::sql
