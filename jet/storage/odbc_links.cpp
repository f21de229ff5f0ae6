#include <set>

#include "jet/links.h"
#include "storage/catalog_rows.h"
#include "storage/catalog_writer.h"
#include "storage/change_watch.h"
#include "storage/table_writer.h"

namespace jet {
namespace {

// Access marks a link through ODBC with 0x00100000 in its catalogue flags
// (a link to another Jet or ISAM file carries 0x00200000), and sets
// 0x20000000 when the connect string keeps the password.
constexpr int64_t kOdbcLinkFlag = 0x00100000;
constexpr int64_t kSavedPasswordFlag = 0x20000000;

int64_t LinkFlags(const std::string& connect) {
  const std::string folded = FoldedName(";" + connect);
  return kOdbcLinkFlag | (folded.find(";pwd=") != std::string::npos ? kSavedPasswordFlag : 0);
}

Status Bad(const OdbcLink& link, const std::string& why) {
  return Status::InvalidArgument("cannot link '" + link.name + "': " + why);
}

// What the link carries over from the table it replaces: the columns and
// indexes (not those made for relationships, which stay with the table).
TableSpec CopiedDefinition(const TableDef& def) {
  TableSpec t;
  for (const ColumnDef& c : def.columns) {
    ColumnSpec s(c.name, c.type, c.type == ColumnType::kText ? c.size / 2 : c.size);
    s.precision = c.precision ? c.precision : s.precision;
    s.scale = c.scale;
    s.required = !c.nullable && !c.autonumber;
    s.autonumber = c.autonumber;
    t.columns.push_back(std::move(s));
  }
  for (const IndexDef& i : def.indexes) {
    if (i.foreign_key) continue;
    IndexSpec s(i.name, {}, i.primary);
    for (const IndexColumn& c : i.columns) s.columns.push_back(def.columns[c.column].name);
    s.unique = i.unique;
    s.ignore_nulls = i.ignore_nulls;
    t.indexes.push_back(std::move(s));
  }
  return t;
}

struct Plan {
  const OdbcLink* link = nullptr;
  const PlacedEntry* local = nullptr;  // the table renamed, when one is
  TableSpec definition;
};

class LinkWriter {
 public:
  LinkWriter(Pager* pager, FileSystem* fs, const std::string& path, double created)
      : pager_(pager), writer_(pager, &text_, fs, path), created_(created) {}

  Status Run(const std::vector<OdbcLink>& links) {
    JET_RETURN_IF_ERROR(ReadPlacedCatalog(*pager_, text_, &catalog_));
    JET_RETURN_IF_ERROR(LoadLayout(*pager_, text_, kCatalogTdefPageNumber, &objects_));
    std::vector<Plan> plans;
    JET_RETURN_IF_ERROR(Check(links, &plans));
    Status s;
    for (const Plan& p : plans) {
      if (s.ok() && p.local) s = Rename(*p.local, p.link->keep_local_as);
    }
    for (const Plan& p : plans) {
      if (s.ok()) s = AddLink(p);
    }
    if (!s.ok()) {
      writer_.Rollback();
      return s;
    }
    return writer_.Commit();
  }

 private:
  const PlacedEntry* Find(const std::string& name) const {
    for (const PlacedEntry& p : catalog_) {
      const bool named = p.entry.kind == ObjectKind::kTable || p.entry.kind == ObjectKind::kLinkedTable ||
                         p.entry.kind == ObjectKind::kLinkedOdbc || p.entry.kind == ObjectKind::kQuery;
      if (named && FoldedName(p.entry.name) == FoldedName(name)) return &p;
    }
    return nullptr;
  }

  Status Check(const std::vector<OdbcLink>& links, std::vector<Plan>* plans) {
    std::set<std::string> taken;  // names this call gives
    for (const OdbcLink& link : links) {
      Plan p{&link, nullptr, {}};
      if (link.connect.empty() || link.foreign_name.empty()) return Bad(link, "it needs a connect string and the server's table name");
      if (!taken.insert(FoldedName(link.name)).second) return Bad(link, "the name appears twice");
      const PlacedEntry* existing = Find(link.name);
      if (!link.keep_local_as.empty()) {
        if (!existing || existing->entry.raw_type != kCatalogTypeTable || existing->entry.system) {
          return Bad(link, "there is no local table of that name to rename");
        }
        if (link.keep_local_as.size() > 64) return Bad(link, "a table name has at most 64 characters");
        if (Find(link.keep_local_as) || !taken.insert(FoldedName(link.keep_local_as)).second) {
          return Bad(link, "the name '" + link.keep_local_as + "' is already taken");
        }
        p.local = existing;
      } else if (existing) {
        return Bad(link, "an object of that name already exists");
      }
      JET_RETURN_IF_ERROR(Definition(link, p.local, &p.definition));
      plans->push_back(std::move(p));
    }
    return Status::OK();
  }

  Status Definition(const OdbcLink& link, const PlacedEntry* local, TableSpec* out) {
    if (!link.columns.empty()) {
      out->columns = link.columns;
      out->indexes = link.indexes;
    } else if (local) {
      std::shared_ptr<const TableLayout> layout;
      JET_RETURN_IF_ERROR(LoadLayout(*pager_, text_, local->entry.tdef_page(), &layout));
      *out = CopiedDefinition(*layout->def);
    } else {
      return Bad(link, "it names no columns and replaces no table");
    }
    out->name = link.name;
    Status s = CheckNewTable(*out, {});
    return s.ok() ? s : Bad(link, s.message());
  }

  Status Rename(const PlacedEntry& table, const std::string& new_name) {
    Row row;
    JET_RETURN_IF_ERROR(writer_.Read(objects_, table.id, &row));
    SetCatalogValue(*objects_->def, "Name", Value(ColumnType::kText, new_name), &row);
    SetCatalogValue(*objects_->def, "DateUpdate", Value(ColumnType::kDateTime, DateTime{created_}), &row);
    JET_RETURN_IF_ERROR(writer_.Update(objects_, table.id, std::move(row)));
    return RenameInRelationships(table.entry.name, new_name);
  }

  // MSysRelationships names tables, not ids: a relationship follows the
  // renamed table, as it does when Access renames one.
  Status RenameInRelationships(const std::string& old_name, const std::string& new_name) {
    const PlacedEntry* system = nullptr;
    for (const PlacedEntry& p : catalog_) {
      if (p.entry.raw_type == kCatalogTypeTable && p.entry.name == "MSysRelationships") system = &p;
    }
    if (!system) return Status::OK();
    std::shared_ptr<const TableLayout> rel;
    JET_RETURN_IF_ERROR(LoadLayout(*pager_, text_, system->entry.tdef_page(), &rel));
    const char* sides[] = {"szObject", "szReferencedObject"};
    std::vector<RowId> ids;
    JET_RETURN_IF_ERROR(FindRows(*pager_, text_, rel, [&](const Row& row) {
      for (const char* side : sides) {
        if (FoldedName(TextField(*rel->def, row, side)) == FoldedName(old_name)) return true;
      }
      return false;
    }, &ids));
    for (RowId id : ids) {
      Row row;
      JET_RETURN_IF_ERROR(writer_.Read(rel, id, &row));
      for (const char* side : sides) {
        if (FoldedName(TextField(*rel->def, row, side)) == FoldedName(old_name)) {
          SetCatalogValue(*rel->def, side, Value(ColumnType::kText, new_name), &row);
        }
      }
      JET_RETURN_IF_ERROR(writer_.Update(rel, id, std::move(row)));
    }
    return Status::OK();
  }

  Status AddLink(const Plan& p) {
    uint32_t tdef_page = 0;
    JET_RETURN_IF_ERROR(WriteTableDefinition(pager_, p.definition, &tdef_page));
    const TableDef& def = *objects_->def;
    Row row = NewCatalogRow(def, tdef_page, kTablesContainerId, p.link->name, kCatalogTypeOdbcLink,
                            LinkFlags(p.link->connect), created_);
    for (const auto& [column, text] : {std::pair{"Connect", p.link->connect}, {"ForeignName", p.link->foreign_name}}) {
      const int n = def.FindColumn(column);
      if (n >= 0) row[n] = Value(def.columns[n].type, text);
    }
    if (p.local) JET_RETURN_IF_ERROR(TakeProperties(*p.local, &row));
    return writer_.Insert(objects_, std::move(row), nullptr);
  }

  // The replaced table's captions, formats and descriptions stay with the
  // link, as Access keeps a link's field properties in its own row.
  Status TakeProperties(const PlacedEntry& table, Row* link_row) {
    const int n = objects_->def->FindColumn("LvProp");
    if (n < 0) return Status::OK();
    Row local_row;
    JET_RETURN_IF_ERROR(writer_.Read(objects_, table.id, &local_row));
    (*link_row)[n] = local_row[n];
    return Status::OK();
  }

  Pager* pager_;
  TextReader text_;
  Writer writer_;
  double created_;
  std::vector<PlacedEntry> catalog_;
  std::shared_ptr<const TableLayout> objects_;
};

}  // namespace

Status ReplaceTablesByOdbcLinks(const std::string& path, const std::vector<OdbcLink>& links,
                                const CreateOptions& options) {
  FileSystem* fs = options.file_system ? options.file_system : DefaultFileSystem();
  std::unique_ptr<Pager> pager;
  FileStamp before, after;
  JET_RETURN_IF_ERROR(OpenForDefinitions(path, fs, &pager, &before));
  JET_RETURN_IF_ERROR(LinkWriter(pager.get(), fs, path, options.created).Run(links));
  return MakeChangeVisible(fs, path, before, &after);
}

}  // namespace jet
