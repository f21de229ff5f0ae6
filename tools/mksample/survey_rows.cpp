#include "survey_rows.h"

#include <cstdlib>
#include <string_view>
#include <utility>

#include "sql/date_math.h"

namespace mksample {
namespace {

using jet::ColumnType;
using jet::Value;

// Which lookup table an id column points into.
const std::map<std::string, std::string>& LookupTables() {
  static const std::map<std::string, std::string> kLookups = {
      {"ManagementUnitID", "tblManagementUnit"}, {"AccessSiteID", "tblAccessSite"},
      {"GearTypeID", "tblGearType"},             {"PrimaryObserverID", "tblUser"},
      {"UserID", "tblUser"},                     {"TimeBlockID", "tblTimeBlock"},
      {"EstimateID", "tblESTIMATE_DEFINITION"}};
  return kLookups;
}

Value Number(ColumnType type, double v) {
  switch (type) {
    case ColumnType::kDouble: return Value(type, v);
    case ColumnType::kSingle: return Value(type, static_cast<float>(v));
    case ColumnType::kDateTime: return Value(type, jet::DateTime{v});
    case ColumnType::kText: return Value(type, std::to_string(static_cast<long long>(v)));
    case ColumnType::kBoolean: return Value(type, v != 0);
    default: return Value(type, static_cast<int64_t>(v));
  }
}

// One survey day: the season runs from 1 May for 150 days, three years.
struct Day {
  int year;
  int day_of_season;
  double serial;
};

Day SurveyDay(long n, Random* random) {
  Day d;
  d.year = 2019 + static_cast<int>(n % 3);
  d.day_of_season = random->Between(0, 149);
  d.serial = DateSerial(d.year, 5, 1) + d.day_of_season;
  return d;
}

}  // namespace

double DateSerial(int year, int month, int day) {
  constexpr int64_t kJetEpochFromUnix = 25569;  // 1899-12-30 to 1970-01-01
  return static_cast<double>(jet::sql::DaysFromCivil(year, month, day) + kJetEpochFromUnix);
}

jet::Status LiteralValues(const jet::TableDef& def, const LiteralRow& literal, const std::string& templates,
                          jet::Row* row) {
  if (literal.values.size() != def.columns.size()) {
    return jet::Status::InvalidArgument("ROW for " + literal.table + " has " + std::to_string(literal.values.size()) +
                                        " values; the table has " + std::to_string(def.columns.size()) + " columns");
  }
  row->clear();
  for (size_t i = 0; i < def.columns.size(); ++i) {
    const ColumnType type = def.columns[i].type;
    std::string text = literal.values[i];
    if (literal.is_null[i]) {
      row->push_back(Value::Null(type));
      continue;
    }
    if (size_t at = text.find("@TEMPLATES@"); at != std::string::npos) text.replace(at, 11, templates);
    if (type == ColumnType::kText || type == ColumnType::kMemo) {
      row->push_back(Value(type, text));
    } else if (type == ColumnType::kDateTime) {
      int y = 0, m = 0, d = 0, hh = 0, mm = 0;
      if (std::sscanf(text.c_str(), "%d-%d-%d %d:%d", &y, &m, &d, &hh, &mm) < 3) {
        return jet::Status::InvalidArgument("'" + text + "' is not a date (YYYY-MM-DD [HH:MM])");
      }
      row->push_back(Value(type, jet::DateTime{DateSerial(y, m, d) + (hh * 60 + mm) / 1440.0}));
    } else if (type == ColumnType::kBoolean) {
      row->push_back(Value(type, text == "true" || text == "yes" || text == "1"));
    } else {
      char* end = nullptr;
      const double v = std::strtod(text.c_str(), &end);
      if (end == text.c_str() || *end != '\0') return jet::Status::InvalidArgument("'" + text + "' is not a number");
      row->push_back(Number(type, v));
    }
  }
  return jet::Status::OK();
}

jet::Row GeneratedRow(const jet::TableDef& def, long n, const std::map<std::string, long>& lookup_rows,
                      Random* random) {
  const Day day = SurveyDay(n, random);
  const double start = day.serial + random->Between(5 * 60, 11 * 60) / 1440.0;
  const double hours = random->Between(1, 12) / 2.0;
  const int caught = random->Between(0, 12);
  const int released = random->Between(0, caught);
  const int marked = random->Between(0, caught);
  // Drawn in this order whatever the table, so a sample is the same each time.
  const std::pair<std::string_view, double> by_name[] = {
      {"Record Num", double(n + 1)},
      {"Year", day.year},
      {"Week", 1 + day.day_of_season / 7},
      {"InterviewDate", day.serial},
      {"SurveyStartDate", DateSerial(day.year, 5, 1)},
      {"StartOpening", DateSerial(day.year, 5, 1) + 7 * (n % 4)},
      {"EndOpening", DateSerial(day.year, 9, 27) - 7 * (n % 3)},
      {"NumberDaysOpen", 150 - 7 * (n % 4) - 7 * (n % 3)},
      {"FishingStartTime", start},
      {"FishingEndTime", start + hours / 24},
      {"Time In MU", (hours + 0.5) / 24},
      {"Catch", caught},
      {"FishReleased", released},
      {"NumberMarked", marked},
      {"NumberWithClips", random->Between(0, marked)},
      {"UnitsOfGear", random->Between(1, 3)},
      {"Soak Time (hrs)", hours},
      {"Gear Count", random->Between(1, 40)},
      {"ObserverGearCount", random->Between(1, 40)},
      {"Total Count", random->Between(0, 250)},
      {"Kept", caught - released},
  };
  auto named = [&by_name](const std::string& name) -> const double* {
    for (const auto& [n, v] : by_name)
      if (n == name) return &v;
    return nullptr;
  };
  jet::Row row;
  row.reserve(def.columns.size());
  for (const jet::ColumnDef& c : def.columns) {
    if (c.autonumber) {
      row.push_back(Value::Null(c.type));
    } else if (auto lookup = LookupTables().find(c.name); lookup != LookupTables().end()) {
      auto count = lookup_rows.find(lookup->second);
      const long rows = count == lookup_rows.end() || count->second == 0 ? 1 : count->second;
      row.push_back(Number(c.type, 1 + double(random->Next() % uint32_t(rows))));
    } else if (const double* v = named(c.name)) {
      row.push_back(Number(c.type, *v));
    } else if (c.name == "Time Block") {
      static const char* kBlocks[] = {"Dawn", "Morning", "Afternoon", "Evening"};
      row.push_back(Value(c.type, std::string(kBlocks[random->Next() % 4])));
    } else {
      row.push_back(Value::Null(c.type));
    }
  }
  return row;
}

}  // namespace mksample
