// The fuzzer's input as a database file the engine can open by path and
// write beside (its lock file): one file in a private folder, on tmpfs where
// the machine has one, rewritten for every input and removed at exit.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace fuzz {

// Writes `data` as the file `name` in the process's scratch folder and
// returns its path, or an empty string when the write failed.
std::string WriteScratchFile(const std::string& name, const uint8_t* data, size_t size);

// The process's scratch folder.
const std::string& ScratchFolder();

}  // namespace fuzz
