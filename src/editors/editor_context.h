// What the report editors are given by the window that opens them: the
// report store, the program's database handle, and how to show the
// Export Assistant's report tree afresh after a report was saved or deleted.
#pragma once

#include <functional>

namespace dao {
class Database;
}
namespace reportdb {
class ReportStore;
}

namespace editors {

struct EditorContext {
  reportdb::ReportStore* store = nullptr;
  std::function<dao::Database*()> programDatabase;
  // After OK: the report folder's node again when it is selected, else the
  // selected node's parent.
  std::function<void()> refreshAfterSave;
  // After a delete: the selected node's parent.
  std::function<void()> refreshAfterDelete;
};

// Set once by the program when the Export Assistant opens; the editors read it.
void SetEditorContext(EditorContext context);
const EditorContext& Context();

}  // namespace editors
