#include "app/mglobals.h"

std::unique_ptr<CError> gError;
std::unique_ptr<CApplication> gApp;
std::unique_ptr<CFile> gFile;
std::unique_ptr<CRegistry> gRegistry;
dao::Workspace* gWorkspace = nullptr;
std::shared_ptr<dao::Database> gDatabase;
bool gDatabaseLoaded = false;
QString gCommandLineDatabase;
frmTabulon* gMainWindow = nullptr;
