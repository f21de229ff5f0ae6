// The keys a list's column sorts compare, made once per column from the
// cells' values and kept as ranks: a row's rank is the place of its key among
// the column's distinct keys. Dates and numbers come from the stored values
// (a text cell is read as it is shown); texts compare unit by unit, each
// case-folded, as QString's case-blind comparison does. A later sort of the
// same column, either way round, then orders whole numbers only.
#pragma once

#include <QHash>
#include <QString>
#include <QVariant>
#include <QVector>
#include <Qt>
#include <vector>

namespace assistant {

// How a column's cells are compared.
enum class SortKind { kText, kDate, kNumber, kTimeBlock };

class ColumnRanker {
 public:
  explicit ColumnRanker(SortKind kind) : kind_(kind) {}

  // Takes the column's next cells. False when one does not read as the kind
  // (a date sort of "Dawn", a number sort of an empty cell): the column
  // cannot be sorted that way.
  bool Append(const QVector<QVariant>& cells);

  // Each cell's rank, in the order the cells came.
  std::vector<int> Ranks() const;

 private:
  bool AppendKey(const QVariant& cell);
  void AppendText(const QString& text);
  // The three units of a row's text from `offset` on, packed to compare as one.
  quint64 TextChunk(int row, size_t offset) const;
  size_t TextLength(int row) const;
  // How many units from `offset` on the texts of all `rows` have in common.
  size_t SharedUnits(const std::vector<int>& rows, size_t offset) const;

  SortKind kind_;
  // Per cell, the number a date, number or time-block sort orders by.
  std::vector<qint64> numbers_;
  // The text sorts' case-folded texts end to end, and where each starts
  // (one more entry for the end): one block rather than a million strings.
  std::vector<char16_t> units_;
  std::vector<size_t> textStarts_{0};
  // A time-block column holds a handful of texts: each is read once.
  QHash<QString, qint64> clockTimes_;
};

// Rows 0 .. ranks.size() - 1 ordered by rank in `direction`; rows of equal
// rank keep their order either way round.
std::vector<int> OrderByRank(const std::vector<int>& ranks, Qt::SortOrder direction);

}  // namespace assistant
