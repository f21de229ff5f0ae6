// The export run's steps for one query, replayed one at a time through the
// same exporter calls, so that each can be timed on its own.
#pragma once

#include <QString>

namespace dao {
class Database;
}

struct StepTimes {
  double create_file = 0;  // new workbook and its first save
  double query = 0;
  double paste = 0;  // header and block
  double information = 0;
  double save = 0;
  double hand_over = 0;  // ExcelVisible: the workbook leaves the office
};

StepTimes ReplayRunSteps(dao::Database& database, const QString& output);
