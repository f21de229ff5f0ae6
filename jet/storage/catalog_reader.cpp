#include "storage/catalog_reader.h"

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

const std::string* TextOf(const Row& row, int column) {
  if (column < 0 || row[column].is_null()) return nullptr;
  return std::get_if<std::string>(&row[column].data());
}

int64_t IntOf(const Row& row, int column) {
  if (column < 0 || row[column].is_null()) return 0;
  const auto* v = std::get_if<int64_t>(&row[column].data());
  return v ? *v : 0;
}

}  // namespace

Status ReadCatalog(const Pager& pager, const TextReader& text, CatalogContents* out) {
  auto layout = std::make_shared<TableLayout>();
  JET_RETURN_IF_ERROR(ReadTableLayout(pager, text, kCatalogTdefPage, layout.get()));
  const TableDef& def = *layout->def;
  const int c_id = def.FindColumn("Id"), c_parent = def.FindColumn("ParentId"),
            c_name = def.FindColumn("Name"), c_type = def.FindColumn("Type"),
            c_flags = def.FindColumn("Flags"), c_database = def.FindColumn("Database"),
            c_foreign = def.FindColumn("ForeignName"), c_connect = def.FindColumn("Connect"),
            c_props = def.FindColumn("LvProp");
  if (c_id < 0 || c_name < 0 || c_type < 0) return Status::Corruption("the catalogue table lacks its key columns");

  std::unique_ptr<TableScan> scan;
  JET_RETURN_IF_ERROR(TableScan::Create(pager, text, layout, true, &scan));
  while (scan->Next()) {
    const Row& row = scan->row();
    CatalogEntry e;
    e.id = static_cast<int32_t>(IntOf(row, c_id));
    e.parent_id = static_cast<int32_t>(IntOf(row, c_parent));
    if (const auto* name = TextOf(row, c_name)) e.name = *name;
    e.raw_type = static_cast<int16_t>(IntOf(row, c_type));
    e.flags = static_cast<uint32_t>(IntOf(row, c_flags));
    if (const auto* s = TextOf(row, c_database)) e.database = *s;
    if (const auto* s = TextOf(row, c_foreign)) e.foreign_name = *s;
    if (const auto* s = TextOf(row, c_connect)) e.connect = *s;
    e.kind = KindOf(e.raw_type, e.connect);
    e.system = (e.flags & (kFlagSystemHigh | kFlagSystemLow)) != 0 || e.name.rfind("MSys", 0) == 0;
    e.hidden = (e.flags & kFlagHidden) != 0;
    e.source_file = TextSourceFile(e);
    // Tables keep their columns' properties there, queries those of their
    // output fields (a field's own Caption, Format, ...).
    const bool has_fields = e.kind == ObjectKind::kTable || e.kind == ObjectKind::kLinkedTable ||
                            e.kind == ObjectKind::kLinkedOdbc || e.kind == ObjectKind::kQuery;
    if (has_fields && c_props >= 0 && !row[c_props].is_null()) {
      ObjectProperties props;
      // A damaged property blob costs the captions, not the table.
      if (ParseProperties(row[c_props].as_bytes(), text, &props).ok()) {
        out->properties[e.id] = std::move(props);
      }
    }
    out->entries.push_back(std::move(e));
  }
  return scan->status();
}

}  // namespace jet
