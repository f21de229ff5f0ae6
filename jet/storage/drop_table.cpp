#include <set>

#include "jet/links.h"
#include "storage/catalog_rows.h"
#include "storage/catalog_writer.h"
#include "storage/change_watch.h"
#include "storage/table_pages.h"
#include "storage/table_writer.h"
#include "storage/usage_map_writer.h"

namespace jet {
namespace {

Status Refused(const std::string& name, const std::string& why) {
  return Status::InvalidArgument("cannot remove table '" + name + "': " + why);
}

class TableDropper {
 public:
  TableDropper(Pager* pager, FileSystem* fs, const std::string& path, bool with_relationships)
      : pager_(pager), writer_(pager, &text_, fs, path), with_relationships_(with_relationships) {}

  Status Run(const std::vector<std::string>& names) {
    JET_RETURN_IF_ERROR(ReadPlacedCatalog(*pager_, text_, &catalog_));
    JET_RETURN_IF_ERROR(LoadLayout(*pager_, text_, kCatalogTdefPageNumber, &objects_));
    std::vector<const PlacedEntry*> tables;
    JET_RETURN_IF_ERROR(Check(names, &tables));
    Status s = with_relationships_ ? DropRelationships(names) : Status::OK();
    for (const PlacedEntry* t : tables) {
      if (s.ok()) s = Drop(*t);
    }
    if (!s.ok()) {
      writer_.Rollback();
      return s;
    }
    return writer_.Commit();
  }

 private:
  const PlacedEntry* System(const char* name) const {
    for (const PlacedEntry& p : catalog_) {
      if (p.entry.raw_type == kCatalogTypeTable && p.entry.name == name) return &p;
    }
    return nullptr;
  }

  Status Check(const std::vector<std::string>& names, std::vector<const PlacedEntry*>* tables) {
    std::set<std::string> related, seen;
    JET_RETURN_IF_ERROR(RelatedTables(&related));
    for (const std::string& name : names) {
      const PlacedEntry* found = nullptr;
      for (const PlacedEntry& p : catalog_) {
        if (p.entry.parent_id == kTablesContainerId && FoldedName(p.entry.name) == FoldedName(name) &&
            p.entry.kind != ObjectKind::kQuery) {
          found = &p;
        }
      }
      if (!found) return Refused(name, "there is no table of that name");
      if (found->entry.raw_type != kCatalogTypeTable) return Refused(name, "it is a link, not a local table");
      if (found->entry.system) return Refused(name, "it is a system table");
      if (related.count(FoldedName(name)) && !with_relationships_) {
        return Refused(name, "a relationship in MSysRelationships names it");
      }
      if (!seen.insert(FoldedName(name)).second) return Refused(name, "it is named twice");
      tables->push_back(found);
    }
    return Status::OK();
  }

  Status RelatedTables(std::set<std::string>* names) {
    const PlacedEntry* rel = System("MSysRelationships");
    if (!rel) return Status::OK();
    std::shared_ptr<const TableLayout> layout;
    JET_RETURN_IF_ERROR(LoadLayout(*pager_, text_, rel->entry.tdef_page(), &layout));
    std::vector<RowId> ids;
    return FindRows(*pager_, text_, layout, [&](const Row& row) {
      names->insert(FoldedName(TextField(*layout->def, row, "szObject")));
      names->insert(FoldedName(TextField(*layout->def, row, "szReferencedObject")));
      return false;
    }, &ids);
  }

  // The relationships naming any of the tables, on either side.
  Status DropRelationships(const std::vector<std::string>& names) {
    const PlacedEntry* rel = System("MSysRelationships");
    if (!rel) return Status::OK();
    std::set<std::string> dropped;
    for (const std::string& name : names) dropped.insert(FoldedName(name));
    std::shared_ptr<const TableLayout> layout;
    JET_RETURN_IF_ERROR(LoadLayout(*pager_, text_, rel->entry.tdef_page(), &layout));
    std::vector<RowId> ids;
    JET_RETURN_IF_ERROR(FindRows(*pager_, text_, layout, [&](const Row& row) {
      return dropped.count(FoldedName(TextField(*layout->def, row, "szObject"))) ||
             dropped.count(FoldedName(TextField(*layout->def, row, "szReferencedObject")));
    }, &ids));
    for (RowId id : ids) JET_RETURN_IF_ERROR(writer_.Delete(layout, id));
    return Status::OK();
  }

  // Access keeps the table's rights in MSysACEs, by the table's id.
  Status DropRights(int32_t id) {
    const PlacedEntry* aces = System("MSysACEs");
    if (!aces) return Status::OK();
    std::shared_ptr<const TableLayout> layout;
    JET_RETURN_IF_ERROR(LoadLayout(*pager_, text_, aces->entry.tdef_page(), &layout));
    const int column = layout->def->FindColumn("ObjectId");
    if (column < 0) return Status::OK();
    std::vector<RowId> ids;
    JET_RETURN_IF_ERROR(FindRows(*pager_, text_, layout, [&](const Row& row) {
      const int64_t* object = row[column].get_if<int64_t>();
      return object && *object == id;
    }, &ids));
    for (RowId row : ids) JET_RETURN_IF_ERROR(writer_.Delete(layout, row));
    return Status::OK();
  }

  Status Drop(const PlacedEntry& table) {
    std::vector<uint32_t> pages;
    JET_RETURN_IF_ERROR(ReleaseTablePages(pager_, text_, table.entry.tdef_page(), &pages));
    JET_RETURN_IF_ERROR(writer_.Delete(objects_, table.id));
    JET_RETURN_IF_ERROR(DropRights(table.entry.id));
    for (uint32_t page : pages) JET_RETURN_IF_ERROR(FreePage(pager_, page));
    return Status::OK();
  }

  Pager* pager_;
  TextReader text_;
  Writer writer_;
  bool with_relationships_;
  std::vector<PlacedEntry> catalog_;
  std::shared_ptr<const TableLayout> objects_;
};

}  // namespace

Status DropTables(const std::string& path, const std::vector<std::string>& names, const CreateOptions& options,
                  bool with_relationships) {
  FileSystem* fs = options.file_system ? options.file_system : DefaultFileSystem();
  std::unique_ptr<Pager> pager;
  FileStamp before, after;
  JET_RETURN_IF_ERROR(OpenForDefinitions(path, fs, &pager, &before));
  JET_RETURN_IF_ERROR(TableDropper(pager.get(), fs, path, with_relationships).Run(names));
  return MakeChangeVisible(fs, path, before, &after);
}

}  // namespace jet
