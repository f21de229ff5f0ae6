#include "text_table.h"

#include <memory>
#include <random>

#include "jet/create.h"
#include "jet/database.h"

namespace bench {

namespace {

jet::TableSpec TextTableSpec() {
  using jet::ColumnType;
  jet::TableSpec table;
  table.name = kTextTable;
  jet::ColumnSpec number("Record Num", ColumnType::kLong);
  number.autonumber = true;
  table.columns = {number, {"Angler", ColumnType::kText, 60}, {"Time Block", ColumnType::kText, 30},
                   {"Site", ColumnType::kText, 60}, {"Comments", ColumnType::kMemo}};
  table.indexes = {{"PrimaryKey", {"Record Num"}, true}};
  return table;
}

jet::Row TextRow(long n, std::mt19937* random) {
  using jet::ColumnType;
  using jet::Value;
  static const char* const kNames[] = {"Anderson", "anderson", "Ng", "O'Brien", "Østergaard", "Zhang", "MacLeod"};
  static const char* const kBlocks[] = {"06:00-10:00", "6:30 PM to 9 PM", "Dawn", "Evening 17:00-21:00",
                                        "12:15 AM",    "Afternoon",       "10:00-14:00"};
  static const char* const kSites[] = {"Boat ramp", "boat RAMP north", "Jetty", "Pier 7", "Pier 12"};
  const auto pick = [random](const auto& list) { return std::string(list[(*random)() % std::size(list)]); };
  jet::Row row;
  row.push_back(Value::Null(ColumnType::kLong));
  row.push_back(Value(ColumnType::kText, "Angler " + pick(kNames) + " " + std::to_string((*random)() % 100000)));
  row.push_back(n % 50 == 0 ? Value::Null(ColumnType::kText) : Value(ColumnType::kText, pick(kBlocks)));
  row.push_back(Value(ColumnType::kText, pick(kSites) + ", unit " + std::to_string((*random)() % 40)));
  row.push_back(Value(ColumnType::kMemo, "Party of " + std::to_string(1 + (*random)() % 6) + "; " + pick(kSites) +
                                             " busy, interview " + std::to_string(n)));
  return row;
}

}  // namespace

jet::Status AddTextTable(const std::string& path, long rows) {
  JET_RETURN_IF_ERROR(jet::CreateTables(path, {TextTableSpec()}, jet::CreateOptions()));
  jet::OpenOptions open;
  open.writable = true;
  std::unique_ptr<jet::Database> db;
  JET_RETURN_IF_ERROR(jet::Database::Open(path, open, &db));
  std::mt19937 random(20261126);
  JET_RETURN_IF_ERROR(db->BeginTransaction());
  for (long n = 0; n < rows; ++n) {
    JET_RETURN_IF_ERROR(db->InsertRow(kTextTable, TextRow(n, &random)));
    // Keys arrive in order, so fixed batches keep the build linear.
    if ((n + 1) % 50000 == 0) {
      JET_RETURN_IF_ERROR(db->Commit());
      JET_RETURN_IF_ERROR(db->BeginTransaction());
    }
  }
  return db->Commit();
}

}  // namespace bench
