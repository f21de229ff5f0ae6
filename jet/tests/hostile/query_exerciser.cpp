#include "query_exerciser.h"

#include <fstream>
#include <iterator>
#include <memory>
#include <vector>

#include "jet/query.h"
#include "jet/text_form.h"
#include "file_bytes.h"

namespace jet::testing {
namespace {

// A value a user could give a parameter of `type`; an undeclared parameter
// is given text, as a prompt would.
Value MadeUpValue(const QueryParameterInfo& p) {
  if (!p.declared) return Value(ColumnType::kText, std::string("1"));
  switch (p.type) {
    case ColumnType::kBoolean: return Value(p.type, true);
    case ColumnType::kByte:
    case ColumnType::kInteger:
    case ColumnType::kLong:
    case ColumnType::kComplex:
    case ColumnType::kBigInt: return Value(p.type, int64_t{1});
    case ColumnType::kCurrency: return Value(p.type, Currency{15000});
    case ColumnType::kSingle: return Value(p.type, 1.5f);
    case ColumnType::kDouble: return Value(p.type, 1.5);
    case ColumnType::kDateTime: return Value(p.type, DateTime{36526.5});
    case ColumnType::kDecimal: return Value(p.type, Decimal{false, 15, 1});
    case ColumnType::kGuid: return Value(p.type, Guid{});
    case ColumnType::kBinary:
    case ColumnType::kOle: return Value(p.type, Bytes{1, 2});
    case ColumnType::kText:
    case ColumnType::kMemo: break;
  }
  return Value(ColumnType::kText, std::string("1"));
}

bool IsAction(QueryType type) {
  return type == QueryType::kAppend || type == QueryType::kUpdate || type == QueryType::kDelete ||
         type == QueryType::kMakeTable;
}

Status RunOne(QueryEngine& engine, const std::string& path, const SavedQuery& query, QueryExerciseResult* result) {
  std::vector<QueryParameterInfo> parameters;
  JET_RETURN_IF_ERROR(engine.QueryParameters(query.name, &parameters));
  std::vector<Value> values;
  for (const QueryParameterInfo& p : parameters) values.push_back(MadeUpValue(p));
  if (!IsAction(query.type)) {
    QueryResult rows;
    JET_RETURN_IF_ERROR(engine.RunQuery(query.name, values, &rows));
    for (const Row& row : rows.rows)
      for (const Value& v : row) (void)CanonicalText(v);
    result->rows += static_cast<long>(rows.rows.size());
    return Status::OK();
  }
  if (!engine.database().writable()) return Status::OK();
  const std::vector<char> before = FileBytes(path);
  JET_RETURN_IF_ERROR(engine.BeginTransaction());
  int64_t affected = 0;
  Status s = engine.ExecuteQuery(query.name, values, &affected);
  Status undone = engine.Rollback();
  result->half_written += FileBytes(path) != before;
  return s.ok() ? undone : s;
}

}  // namespace

QueryExerciseResult ExerciseSavedQueries(const std::string& path, bool writable) {
  QueryExerciseResult result;
  OpenOptions options;
  options.writable = writable;
  std::shared_ptr<QueryEngine> engine;
  if (!QueryEngine::ForFile(path, options, &engine).ok()) return result;
  result.opened = true;
  std::vector<SavedQuery> queries;
  if (!engine->ListQueries(&queries).ok()) return result;
  for (const SavedQuery& query : queries) {
    ++result.queries;
    if (RunOne(*engine, path, query, &result).ok()) ++result.ran;
    else ++result.refused;
  }
  return result;
}

}  // namespace jet::testing
