#include "editors/editor_context.h"

namespace editors {
namespace {

EditorContext gContext;

}  // namespace

void SetEditorContext(EditorContext context) { gContext = std::move(context); }

const EditorContext& Context() { return gContext; }

}  // namespace editors
