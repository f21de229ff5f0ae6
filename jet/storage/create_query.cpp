#include <algorithm>
#include <set>

#include "jet/create.h"
#include "storage/catalog_reader.h"
#include "storage/catalog_writer.h"
#include "storage/change_watch.h"
#include "storage/table_layout.h"
#include "storage/table_writer.h"

namespace jet {
namespace {

// MSysQueries attributes: what each row of a query describes.
enum Attribute {
  kType = 1, kParameter = 2, kFlags = 3, kTable = 5, kColumn = 6,
  kJoin = 7, kWhere = 8, kGroupBy = 9, kHaving = 10, kOrderBy = 11,
};
constexpr int kDistinct = 0x02, kTop = 0x10;
constexpr int kCrosstabPivot = 0x01, kCrosstabNormal = 0x02;
// Saved queries take catalogue ids from a range table ids (their definition
// pages) never reach, so the two can never clash.
constexpr int64_t kFirstQueryId = 0x01000000;
constexpr const char* kUnionFirst = "X7YZ_____1";
constexpr const char* kUnionSecond = "X7YZ_____2";

struct Part {
  explicit Part(int attr, std::string expr = "", int f = 0, std::string n1 = "", std::string n2 = "")
      : attribute(attr), expression(std::move(expr)), flag(f), name1(std::move(n1)), name2(std::move(n2)) {}

  int attribute;
  std::string expression;
  int flag = 0;
  std::string name1, name2;
  int extra = 0;
};

// The catalogue flags carry the kind in their high nibble.
int64_t KindFlags(QueryType type) {
  switch (type) {
    case QueryType::kMakeTable: return 80;
    case QueryType::kAppend: return 64;
    case QueryType::kUpdate: return 48;
    case QueryType::kDelete: return 32;
    case QueryType::kCrosstab: return 16;
    case QueryType::kDataDefinition: return 96;
    case QueryType::kPassThrough: return 112;
    case QueryType::kUnion: return 128;
    default: return 0;
  }
}

int RoleFlag(QuerySpec::Role role) {
  switch (role) {
    case QuerySpec::Role::kRowHeading: return kCrosstabNormal;
    case QuerySpec::Role::kColumnHeading: return kCrosstabPivot;
    default: return 0;
  }
}

std::vector<Part> Parts(const QuerySpec& q) {
  std::vector<Part> parts;
  Part type{kType, "", static_cast<int>(q.type)};
  if (q.type == QueryType::kMakeTable || q.type == QueryType::kAppend) type.name1 = q.target;
  parts.push_back(type);
  for (const auto& [name, param_type] : q.parameters) {
    Part p{kParameter, "", static_cast<int>(param_type), name};
    if (param_type == ColumnType::kText) p.extra = 255;
    parts.push_back(p);
  }
  int flags = 0;
  if (q.type == QueryType::kUnion) flags = q.union_all ? 0 : kDistinct;
  else flags = (q.distinct ? kDistinct : 0) | (q.top > 0 ? kTop : 0);
  Part flag_row{kFlags, "", flags};
  if (q.top > 0) flag_row.name1 = std::to_string(q.top);
  parts.push_back(flag_row);
  if (q.type == QueryType::kUnion) {
    parts.push_back(Part(kTable, q.union_first, 0, "", kUnionFirst));
    parts.push_back(Part(kTable, q.union_second, 0, "", kUnionSecond));
  }
  for (const auto& s : q.from) parts.push_back(Part(kTable, "", 0, s.table, s.alias));
  for (const auto& c : q.columns) {
    Part p{kColumn, c.expression, RoleFlag(c.role), c.alias};
    if (q.type == QueryType::kUpdate) {
      p.name1.clear();
      p.name2 = c.alias;  // the column an update sets
    }
    parts.push_back(p);
  }
  for (const auto& j : q.joins) parts.push_back(Part(kJoin, j.on, j.kind, j.left, j.right));
  if (!q.where.empty()) parts.push_back(Part(kWhere, q.where));
  for (const auto& g : q.group_by) parts.push_back(Part(kGroupBy, g, q.type == QueryType::kCrosstab ? kCrosstabNormal : 0));
  if (!q.having.empty()) parts.push_back(Part(kHaving, q.having));
  for (const auto& o : q.order_by) parts.push_back(Part(kOrderBy, o.expression, 0, o.descending ? "D" : ""));
  return parts;
}

Status Check(const QuerySpec& q, std::set<std::string>* taken) {
  auto bad = [&](const std::string& why) {
    return Status::InvalidArgument("cannot create query '" + q.name + "': " + why);
  };
  if (q.name.empty() || q.name.size() > 64) return bad("a query name must have 1 to 64 characters");
  std::string lower = q.name;
  std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return std::tolower(c); });
  if (!taken->insert(lower).second) return bad("an object of that name already exists");
  if (q.type == QueryType::kUnion) {
    if (q.union_first.empty() || q.union_second.empty()) return bad("a union needs both of its SELECT statements");
    return Status::OK();
  }
  if (q.type == QueryType::kDataDefinition || q.type == QueryType::kPassThrough) {
    return bad("data-definition and pass-through queries are not supported");
  }
  if (q.from.empty()) return bad("it reads from no table");
  if (q.type != QueryType::kDelete && q.columns.empty()) return bad("it has no output columns");
  if ((q.type == QueryType::kMakeTable || q.type == QueryType::kAppend) && q.target.empty()) {
    return bad("it names no target table");
  }
  if (q.type == QueryType::kCrosstab) {
    int values = 0, pivots = 0;
    for (const auto& c : q.columns) {
      values += c.role == QuerySpec::Role::kValue;
      pivots += c.role == QuerySpec::Role::kColumnHeading;
    }
    if (values != 1 || pivots != 1) return bad("a crosstab needs one value and one column heading");
  }
  return Status::OK();
}

Bytes OrderKey(uint32_t n) {
  return Bytes{uint8_t(n >> 24), uint8_t(n >> 16), uint8_t(n >> 8), uint8_t(n)};
}

Row QueryRow(const TableDef& def, int64_t object_id, const Part& p, uint32_t order) {
  Row row;
  for (const ColumnDef& c : def.columns) row.push_back(Value::Null(c.type));
  auto set = [&](const char* column, Value v) {
    const int n = def.FindColumn(column);
    if (n >= 0) row[n] = std::move(v);
  };
  set("ObjectId", Value(ColumnType::kLong, object_id));
  set("Attribute", Value(ColumnType::kByte, int64_t{p.attribute}));
  set("Order", Value(ColumnType::kBinary, OrderKey(order)));
  set("Flag", Value(ColumnType::kInteger, int64_t{p.flag}));
  if (p.extra) set("LvExtra", Value(ColumnType::kLong, int64_t{p.extra}));
  if (!p.expression.empty()) set("Expression", Value(ColumnType::kMemo, p.expression));
  if (!p.name1.empty()) set("Name1", Value(ColumnType::kText, p.name1));
  if (!p.name2.empty()) set("Name2", Value(ColumnType::kText, p.name2));
  return row;
}

Status Layout(const Pager& pager, const TextReader& text, uint32_t tdef, std::shared_ptr<const TableLayout>* out) {
  auto layout = std::make_shared<TableLayout>();
  JET_RETURN_IF_ERROR(ReadTableLayout(pager, text, tdef, layout.get()));
  *out = layout;
  return Status::OK();
}

Status AddQueries(Pager* pager, FileSystem* fs, const std::string& path, const std::vector<QuerySpec>& queries,
                  double created) {
  TextReader text;
  CatalogContents catalog;
  JET_RETURN_IF_ERROR(ReadCatalog(*pager, text, &catalog));
  std::set<std::string> taken;
  int64_t next_id = kFirstQueryId;
  const CatalogEntry* msys_queries = nullptr;
  for (const CatalogEntry& e : catalog.entries) {
    if (e.raw_type == kCatalogTypeTable || e.raw_type == kCatalogTypeQuery) {
      std::string lower = e.name;
      std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return std::tolower(c); });
      taken.insert(lower);
    }
    if (e.id >= next_id) next_id = int64_t{e.id} + 1;
    if (e.name == "MSysQueries") msys_queries = &e;
  }
  if (!msys_queries) return Status::Corruption("the database has no MSysQueries table");
  for (const QuerySpec& q : queries) JET_RETURN_IF_ERROR(Check(q, &taken));
  std::shared_ptr<const TableLayout> objects, rows;
  JET_RETURN_IF_ERROR(Layout(*pager, text, kCatalogTdefPageNumber, &objects));
  JET_RETURN_IF_ERROR(Layout(*pager, text, msys_queries->tdef_page(), &rows));
  Writer writer(pager, &text, fs, path);
  for (const QuerySpec& q : queries) {
    const int64_t id = next_id++;
    Status s = writer.Insert(objects,
                             NewCatalogRow(*objects->def, id, kTablesContainerId, q.name, kCatalogTypeQuery,
                                           KindFlags(q.type), created),
                             nullptr);
    uint32_t order = 0;
    for (const Part& p : Parts(q)) {
      if (s.ok()) s = writer.Insert(rows, QueryRow(*rows->def, id, p, order++), nullptr);
    }
    if (!s.ok()) {
      writer.Rollback();
      return s;
    }
  }
  return writer.Commit();
}

}  // namespace

Status CreateQueries(const std::string& path, const std::vector<QuerySpec>& queries, const CreateOptions& options) {
  FileSystem* fs = options.file_system ? options.file_system : DefaultFileSystem();
  std::unique_ptr<Pager> pager;
  FileStamp before, after;
  JET_RETURN_IF_ERROR(OpenForDefinitions(path, fs, &pager, &before));
  JET_RETURN_IF_ERROR(AddQueries(pager.get(), fs, path, queries, options.created));
  return MakeChangeVisible(fs, path, before, &after);
}

}  // namespace jet
