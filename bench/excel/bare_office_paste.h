// The peer of the benchmark: the same paste and save made with bare UNO calls,
// no facade, so the facade's own cost shows as the difference.
#pragma once

#include <QString>

namespace dao {
class Recordset;
}

// Pastes the records at A2 of a new hidden workbook, formats the date column
// and saves it as .xls; returns the milliseconds taken by paste and save.
double BarePasteAndSave(const dao::Recordset& records, const QString& file);
