#include "storage/catalog_reader.h"

#include "storage/system_fields.h"
#include "storage/table_scan.h"

namespace jet {
namespace {

// MSysObjects.Type values.
constexpr int16_t kTypeTable = 1;
constexpr int16_t kTypeLinkedOdbc = 4;
constexpr int16_t kTypeQuery = 5;
constexpr int16_t kTypeLinkedJet = 6;
constexpr int16_t kTypeRelationship = 8;
constexpr int16_t kTypeForm = -32768;
constexpr int16_t kTypeReport = -32764;
constexpr int16_t kTypeMacro = -32766;
constexpr int16_t kTypeModule = -32761;

// Flags that mark system objects and hidden ones.
constexpr uint32_t kFlagSystemHigh = 0x80000000u;
constexpr uint32_t kFlagSystemLow = 0x00000002u;
constexpr uint32_t kFlagHidden = 0x00000008u;

ObjectKind KindOf(int16_t type, const std::string& connect) {
  switch (type) {
    case kTypeTable: return ObjectKind::kTable;
    case kTypeLinkedJet:
      // A Jet link has no connect string or one that starts with ';'; others
      // (Text;, Excel 8.0;, dBASE ...) are installable-ISAM links.
      return connect.empty() || connect[0] == ';' ? ObjectKind::kLinkedTable : ObjectKind::kLinkedOdbc;
    case kTypeLinkedOdbc: return ObjectKind::kLinkedOdbc;
    case kTypeQuery: return ObjectKind::kQuery;
    case kTypeForm: return ObjectKind::kForm;
    case kTypeReport: return ObjectKind::kReport;
    case kTypeMacro: return ObjectKind::kMacro;
    case kTypeModule: return ObjectKind::kModule;
    case kTypeRelationship: return ObjectKind::kRelationship;
    default: return ObjectKind::kOther;
  }
}

// A text link keeps the folder in the connect string and the file name in
// ForeignName with '#' for the dot ("catch#csv").
std::string TextSourceFile(const CatalogEntry& e) {
  if (e.connect.rfind("Text;", 0) != 0) return {};
  std::string file = e.foreign_name;
  for (char& c : file) if (c == '#') c = '.';
  return file;
}

// One catalogue row as an entry; its properties go into `properties`.
Status ReadEntry(const SystemFields& fields, const Row& row, const TextReader& text, CatalogEntry* e,
                 std::map<int32_t, ObjectProperties>* properties) {
  std::optional<int64_t> id, parent, type, flags;
  std::optional<std::string> name, database, foreign, connect;
  const Bytes* blob = nullptr;
  JET_RETURN_IF_ERROR(fields.Integer(row, fields.Column("Id"), &id));
  JET_RETURN_IF_ERROR(fields.Integer(row, fields.Column("ParentId"), &parent));
  JET_RETURN_IF_ERROR(fields.Integer(row, fields.Column("Type"), &type));
  JET_RETURN_IF_ERROR(fields.Integer(row, fields.Column("Flags"), &flags));
  JET_RETURN_IF_ERROR(fields.Text(row, fields.Column("Name"), &name));
  JET_RETURN_IF_ERROR(fields.Text(row, fields.Column("Database"), &database));
  JET_RETURN_IF_ERROR(fields.Text(row, fields.Column("ForeignName"), &foreign));
  JET_RETURN_IF_ERROR(fields.Text(row, fields.Column("Connect"), &connect));
  JET_RETURN_IF_ERROR(fields.Binary(row, fields.Column("LvProp"), &blob));
  e->id = static_cast<int32_t>(id.value_or(0));
  e->parent_id = static_cast<int32_t>(parent.value_or(0));
  e->name = name.value_or("");
  e->raw_type = static_cast<int16_t>(type.value_or(0));
  e->flags = static_cast<uint32_t>(flags.value_or(0));
  e->database = database.value_or("");
  e->foreign_name = foreign.value_or("");
  e->connect = connect.value_or("");
  e->kind = KindOf(e->raw_type, e->connect);
  e->system = (e->flags & (kFlagSystemHigh | kFlagSystemLow)) != 0 || e->name.rfind("MSys", 0) == 0;
  e->hidden = (e->flags & kFlagHidden) != 0;
  e->source_file = TextSourceFile(*e);
  // Tables keep their columns' properties there, queries those of their
  // output fields (a field's own Caption, Format, ...).
  const bool has_fields = e->kind == ObjectKind::kTable || e->kind == ObjectKind::kLinkedTable ||
                          e->kind == ObjectKind::kLinkedOdbc || e->kind == ObjectKind::kQuery;
  ObjectProperties props;
  // A damaged property blob costs the captions, not the table.
  if (has_fields && blob && ParseProperties(*blob, text, &props).ok()) (*properties)[e->id] = std::move(props);
  return Status::OK();
}

}  // namespace

Status ReadCatalog(const Pager& pager, const TextReader& text, CatalogContents* out) {
  auto layout = std::make_shared<TableLayout>();
  JET_RETURN_IF_ERROR(ReadTableLayout(pager, text, kCatalogTdefPage, layout.get()));
  const SystemFields fields(*layout->def, "MSysObjects");
  if (fields.Column("Id") < 0 || fields.Column("Name") < 0 || fields.Column("Type") < 0)
    return Status::Corruption("the catalogue table lacks its key columns");

  std::unique_ptr<TableScan> scan;
  JET_RETURN_IF_ERROR(TableScan::Create(pager, text, layout, true, &scan));
  while (scan->Next()) {
    CatalogEntry e;
    JET_RETURN_IF_ERROR(ReadEntry(fields, scan->row(), text, &e, &out->properties));
    out->entries.push_back(std::move(e));
  }
  return scan->status();
}

}  // namespace jet
