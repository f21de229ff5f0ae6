// The benchmark's report database: the sample survey database built by
// mksample with a large interview table, plus one report whose single query
// returns every interview as eight columns of numbers, text and dates.
#pragma once

#include <QString>

struct BenchDatabase {
  QString path;
  QString report;  // the report's name in the main window's list
};

// Builds it in `folder`; throws std::runtime_error with the reason on failure.
BenchDatabase BuildBenchDatabase(const QString& folder, long interviews);
