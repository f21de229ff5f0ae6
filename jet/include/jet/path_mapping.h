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

namespace jet {

// A Windows ODBC driver or data source named in a link's connect string,
// and what to use on this machine instead. Written `FROM=TO[;KEY=VALUE...]`:
// FROM is `{Driver name}` or a DSN's name; TO likewise, and the attributes
// after it (a PWD, another SERVER) replace the link's own when it connects.
// A password given here is used only to connect, never stored in the file.
struct OdbcMapping {
  std::string from;
  std::string to;
  std::string attributes;  // "PWD=secret;PORT=5433", or empty
};

// Reads `FROM=TO[;...]`; nothing when the text has no FROM or TO.
std::optional<OdbcMapping> ParseOdbcMapping(const std::string& text);

}  // namespace jet
