#include "query_commands.h"

#include <cstdio>

#include "jet/query.h"
#include "jet/text_form.h"

namespace jetdump {
namespace {

int Fail(const jet::Status& s) {
  std::fprintf(stderr, "jetdump: %s\n", s.ToString().c_str());
  return 1;
}

void PrintResult(const jet::QueryResult& result) {
  std::vector<std::string> names;
  for (const auto& c : result.columns) names.push_back(c.name);
  std::string out;
  jet::AppendCsvHeader(&out, names);
  for (const auto& row : result.rows) {
    jet::AppendCsvRecord(&out, row);
    if (out.size() > (1 << 20)) {
      std::fwrite(out.data(), 1, out.size(), stdout);
      out.clear();
    }
  }
  std::fwrite(out.data(), 1, out.size(), stdout);
}

}  // namespace

int PrintQueries(const std::string& file, const jet::OpenOptions& options) {
  std::shared_ptr<jet::QueryEngine> engine;
  if (auto s = jet::QueryEngine::ForFile(file, options, &engine); !s.ok()) return Fail(s);
  std::vector<jet::SavedQuery> queries;
  if (auto s = engine->ListQueries(&queries); !s.ok()) return Fail(s);
  for (const auto& q : queries) {
    std::printf("== %s\ntype: %s\n", q.name.c_str(), std::string(jet::QueryTypeName(q.type)).c_str());
    std::vector<jet::QueryParameterInfo> params;
    if (auto s = engine->QueryParameters(q.name, &params); !s.ok()) {
      std::printf("parameters: (%s)\n", s.ToString().c_str());
    }
    for (const auto& p : params) {
      std::printf("parameter: %s %s%s\n", p.name.c_str(), std::string(jet::ColumnTypeName(p.type)).c_str(),
                  p.declared ? "" : " (undeclared)");
    }
    // Access keeps CR LF line ends; print plain line ends.
    std::string sql;
    for (char c : q.sql) if (c != '\r') sql.push_back(c);
    std::printf("%s\n", sql.c_str());
  }
  return 0;
}

int RunSavedQuery(const std::string& file, const jet::OpenOptions& options, const std::string& query,
                  const std::vector<std::string>& values) {
  std::shared_ptr<jet::QueryEngine> engine;
  if (auto s = jet::QueryEngine::ForFile(file, options, &engine); !s.ok()) return Fail(s);
  std::vector<jet::Value> params;
  // \N stands for Null, as the CSV output writes it.
  for (const auto& v : values)
    params.push_back(v == "\\N" ? jet::Value::Null(jet::ColumnType::kText) : jet::Value(jet::ColumnType::kText, v));
  jet::QueryResult result;
  if (auto s = engine->RunQuery(query, params, &result); !s.ok()) return Fail(s);
  PrintResult(result);
  return 0;
}

jet::Status RunStatement(jet::QueryEngine& engine, const std::string& sql) {
  if (jet::QueryEngine::ChangesData(sql)) {
    int64_t affected = 0;
    JET_RETURN_IF_ERROR(engine.Execute(sql, {}, &affected));
    std::printf("%lld row(s) affected\n", static_cast<long long>(affected));
    return jet::Status::OK();
  }
  jet::QueryResult result;
  JET_RETURN_IF_ERROR(engine.RunSql(sql, {}, &result));
  PrintResult(result);
  return jet::Status::OK();
}

int RunStatements(const std::string& file, const jet::OpenOptions& options,
                  const std::vector<std::string>& statements) {
  // The file is opened for writing only when some statement changes data,
  // so plain queries still run on read-only and locked files.
  jet::OpenOptions open = options;
  for (const auto& sql : statements) open.writable = open.writable || jet::QueryEngine::ChangesData(sql);
  std::shared_ptr<jet::QueryEngine> engine;
  if (auto s = jet::QueryEngine::ForFile(file, open, &engine); !s.ok()) return Fail(s);
  // All statements of one call succeed together or leave the file as it was.
  if (open.writable) {
    if (auto s = engine->BeginTransaction(); !s.ok()) return Fail(s);
  }
  for (const auto& sql : statements) {
    if (jet::Status s = RunStatement(*engine, sql); !s.ok()) {
      if (open.writable) engine->Rollback();
      return Fail(s);
    }
  }
  if (open.writable) {
    if (auto s = engine->Commit(); !s.ok()) return Fail(s);
  }
  return 0;
}

}  // namespace jetdump
