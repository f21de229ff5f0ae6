// MGlobals: the objects the whole program shares for as long as it runs.
#pragma once

#include <memory>

#include "app/capplication.h"
#include "app/cerror.h"
#include "app/cfile.h"
#include "platform/dao/dao.h"
#include "platform/settings/cregistry.h"

class frmTabulon;

extern std::unique_ptr<CError> gError;
extern std::unique_ptr<CApplication> gApp;
extern std::unique_ptr<CFile> gFile;
extern std::unique_ptr<CRegistry> gRegistry;
extern dao::Workspace* gWorkspace;
extern std::shared_ptr<dao::Database> gDatabase;
extern bool gDatabaseLoaded;
// The database named on the command line, opened instead of the recorded
// one for this session; empty when none was named.
extern QString gCommandLineDatabase;
// The one main window; cleared when it closes.
extern frmTabulon* gMainWindow;

// The family's shared key, under which every program of it keeps its values.
inline constexpr const char* kFamilyMainKey = "Software\\Varnel Technologies\\Ondara3\\";
