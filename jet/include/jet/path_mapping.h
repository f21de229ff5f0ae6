// Windows paths stored in a database (linked files, templates) resolved to
// files on this machine.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace jet {

// `C:\Survey\Data` (matched as a prefix, without regard to case) -> `/srv/survey`.
struct FolderMapping {
  std::string windows_prefix;
  std::string local_folder;
};

// Tries, in order: the path as given (a Windows path with `\` turned into `/`
// and file names matched without regard to case), the same file name in
// `beside_folder`, and each folder mapping. Returns the first existing file.
std::optional<std::string> ResolveStoredPath(const std::string& stored_path,
                                             const std::string& beside_folder,
                                             const std::vector<FolderMapping>& mappings);

}  // namespace jet
