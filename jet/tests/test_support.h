// Helpers shared by the engine tests.
#pragma once

#include <memory>
#include <string>

#include "jet/database.h"

namespace jet::testing {

// Absolute path of a file in the shared Jet fixtures folder.
std::string FixturePath(const std::string& name);

// Opens a fixture read-only; fails the calling test on error.
std::unique_ptr<Database> OpenFixture(const std::string& name, const OpenOptions& options = {});

// An empty database made at `name` in a fresh folder `folder` of the test
// temporary directory (what an earlier run left there is removed first).
std::string NewDatabase(const std::string& folder, const std::string& name);

// Runs a command and returns its standard output (empty on failure).
std::string RunCommand(const std::string& command, int* exit_code = nullptr);

}  // namespace jet::testing
