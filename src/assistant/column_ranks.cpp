#include "assistant/column_ranks.h"

#include <QDateTime>
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>

#include "assistant/value_text.h"

namespace assistant {

namespace {

// After every clock time: a time block with none in its text.
constexpr qint64 kNoClockTime = 24 * 60;

// Texts are ordered three units at a time: each unit plus one in 17 bits,
// so 0 marks a text that has ended and sorts before any unit.
constexpr size_t kChunkUnits = 3;
constexpr int kSlotBits = 17;

std::optional<qint64> NumberKey(const QVariant& cell) {
  switch (cell.typeId()) {
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::UChar:
    case QMetaType::Double:
    case QMetaType::Float: {
      // As a conversion to Long: halves to even, and nothing past 32 bits.
      const double rounded = std::nearbyint(cell.toDouble());
      if (!std::isfinite(rounded) || rounded < std::numeric_limits<qint32>::min() ||
          rounded > std::numeric_limits<qint32>::max()) {
        return std::nullopt;
      }
      return static_cast<qint64>(rounded);
    }
    default:
      if (const auto number = NumberFromText(ValueText(cell))) return *number;
      return std::nullopt;
  }
}

qint64 Milliseconds(const QDateTime& when) {
  return when.date().toJulianDay() * 86'400'000 + when.time().msecsSinceStartOfDay();
}

std::optional<qint64> DateKey(const QVariant& cell) {
  if (cell.typeId() == QMetaType::QDateTime) return Milliseconds(cell.toDateTime());
  if (const auto when = DateFromText(ValueText(cell))) return Milliseconds(*when);
  return std::nullopt;
}

// A row's place in the sort: one key and the row, sixteen bytes, so a
// million of them sort quickly.
struct Entry {
  quint64 key;
  int row;
  bool operator<(const Entry& other) const { return key != other.key ? key < other.key : row < other.row; }
  // The last slot empty: every text of a run with this key ended in it.
  bool TextEnded() const { return (key & ((quint64{1} << kSlotBits) - 1)) == 0; }
};

// The first key of a row: its number (a date's or time block's too) ahead of
// its text's first units. A time block's minute fits above the units; a
// number or date column has no text.
quint64 FirstKey(std::optional<qint64> number, std::optional<quint64> chunk) {
  constexpr quint64 kSignBit = quint64{1} << 63;
  if (!chunk) return static_cast<quint64>(*number) ^ kSignBit;
  if (!number) return *chunk;
  return (static_cast<quint64>(*number) << (kChunkUnits * kSlotBits)) | *chunk;
}

// Orders a run by key, keeping the order of equal keys: rows come to a run
// in row order, so that is the order of their rows. A long run is sorted a
// byte of the key at a time (a byte all rows share is passed over, and text
// leaves most of them alike); a short one compares.
void SortRun(std::vector<Entry>::iterator begin, std::vector<Entry>::iterator end, std::vector<Entry>* spare) {
  constexpr ptrdiff_t kWorthCounting = 2048;
  const ptrdiff_t count = end - begin;
  if (count < kWorthCounting) {
    std::sort(begin, end);
    return;
  }
  spare->resize(static_cast<size_t>(count));
  auto from = begin;
  auto to = spare->begin();
  bool inSpare = false;
  for (int shift = 0; shift < 64; shift += 8) {
    std::array<size_t, 257> start{};
    for (auto it = from; it != from + count; ++it) ++start[((it->key >> shift) & 0xff) + 1];
    if (std::find(start.begin() + 1, start.end(), static_cast<size_t>(count)) != start.end()) continue;
    for (size_t i = 1; i < start.size(); ++i) start[i] += start[i - 1];
    for (auto it = from; it != from + count; ++it) to[static_cast<ptrdiff_t>(start[(it->key >> shift) & 0xff]++)] = *it;
    std::swap(from, to);
    inSpare = !inSpare;
  }
  if (inSpare) std::copy(from, from + count, begin);
}

}  // namespace

bool ColumnRanker::Append(const QVector<QVariant>& cells) {
  for (const QVariant& cell : cells) {
    if (!AppendKey(cell)) return false;
  }
  return true;
}

bool ColumnRanker::AppendKey(const QVariant& cell) {
  switch (kind_) {
    case SortKind::kNumber:
    case SortKind::kDate: {
      const auto key = kind_ == SortKind::kNumber ? NumberKey(cell) : DateKey(cell);
      if (!key) return false;
      numbers_.push_back(*key);
      return true;
    }
    case SortKind::kTimeBlock: {
      const QString text = ValueText(cell);
      auto known = clockTimes_.constFind(text);
      if (known == clockTimes_.cend()) known = clockTimes_.insert(text, FirstClockTime(text).value_or(kNoClockTime));
      numbers_.push_back(*known);
      AppendText(text);
      return true;
    }
    case SortKind::kText:
      AppendText(ValueText(cell));
      return true;
  }
  return false;
}

void ColumnRanker::AppendText(const QString& text) {
  // A low surrogate folds with the high one before it; the high one stays.
  char32_t high = 0;
  for (const QChar unit : text) {
    const char16_t code = unit.unicode();
    char16_t folded = code < 0x80 ? (code >= u'A' && code <= u'Z' ? code + 32 : code) : QChar::toCaseFolded(code);
    if (unit.isLowSurrogate() && high != 0) {
      folded = QChar::lowSurrogate(QChar::toCaseFolded(QChar::surrogateToUcs4(high, unit.unicode())));
    }
    high = unit.isHighSurrogate() ? unit.unicode() : 0;
    units_.push_back(folded);
  }
  textStarts_.push_back(units_.size());
}

quint64 ColumnRanker::TextChunk(int row, size_t offset) const {
  const size_t start = textStarts_[static_cast<size_t>(row)] + offset;
  const size_t end = textStarts_[static_cast<size_t>(row) + 1];
  quint64 chunk = 0;
  for (size_t i = start; i < start + kChunkUnits; ++i) {
    chunk = (chunk << kSlotBits) | (i < end ? quint64{units_[i]} + 1 : 0);
  }
  return chunk;
}

size_t ColumnRanker::TextLength(int row) const {
  return textStarts_[static_cast<size_t>(row) + 1] - textStarts_[static_cast<size_t>(row)];
}

size_t ColumnRanker::SharedUnits(const std::vector<int>& rows, size_t offset) const {
  const char16_t* first = units_.data() + textStarts_[static_cast<size_t>(rows.front())] + offset;
  size_t shared = TextLength(rows.front()) - offset;
  for (size_t i = 1; i < rows.size() && shared > 0; ++i) {
    const int row = rows[i];
    const char16_t* text = units_.data() + textStarts_[static_cast<size_t>(row)] + offset;
    const size_t length = std::min(shared, TextLength(row) - offset);
    size_t same = 0;
    while (same < length && text[same] == first[same]) ++same;
    shared = same;
  }
  return shared;
}

std::vector<int> ColumnRanker::Ranks() const {
  const bool texts = textStarts_.size() > 1;
  const int count = static_cast<int>(texts ? textStarts_.size() - 1 : numbers_.size());
  std::vector<Entry> entries(static_cast<size_t>(count));
  for (int row = 0; row < count; ++row) {
    const auto number = numbers_.empty() ? std::nullopt : std::optional<qint64>(numbers_[row]);
    const auto chunk = texts ? std::optional<quint64>(TextChunk(row, 0)) : std::nullopt;
    entries[row] = {FirstKey(number, chunk), row};
  }
  // Most rows part on the number and the first units. Rows still tied on
  // those are ordered by their next units, run by run, after skipping what
  // the run's texts all share: each text is read about as far as it differs
  // from its neighbours.
  std::vector<bool> newRank(entries.size());
  struct Run {
    size_t begin, end, offset;
  };
  std::vector<Run> runs{{0, entries.size(), 0}};
  std::vector<int> rows;
  std::vector<Entry> spare;
  while (!runs.empty()) {
    Run run = runs.back();
    runs.pop_back();
    if (run.offset > 0) {
      rows.clear();
      for (size_t i = run.begin; i < run.end; ++i) rows.push_back(entries[i].row);
      run.offset += SharedUnits(rows, run.offset);
      const bool same = std::all_of(rows.begin(), rows.end(), [&](int row) { return TextLength(row) == run.offset; });
      if (same) continue;  // equal texts: one rank, in row order already
      for (size_t i = run.begin; i < run.end; ++i) entries[i].key = TextChunk(entries[i].row, run.offset);
    }
    SortRun(entries.begin() + run.begin, entries.begin() + run.end, &spare);
    size_t tied = run.begin;
    for (size_t i = run.begin; i <= run.end; ++i) {
      if (i < run.end && i > run.begin && entries[i].key == entries[i - 1].key) continue;
      if (i < run.end && (i > run.begin || run.offset == 0)) newRank[i] = true;
      if (texts && i - tied > 1 && !entries[tied].TextEnded()) runs.push_back({tied, i, run.offset + kChunkUnits});
      tied = i;
    }
  }
  std::vector<int> ranks(entries.size());
  int rank = -1;
  for (size_t i = 0; i < entries.size(); ++i) {
    if (newRank[i]) ++rank;
    ranks[static_cast<size_t>(entries[i].row)] = rank;
  }
  return ranks;
}

std::vector<int> OrderByRank(const std::vector<int>& ranks, Qt::SortOrder direction) {
  // Ranks are dense, so a count of each gives where its rows start; rows are
  // then placed in row order, which keeps equal ones in that order.
  const int highest = ranks.empty() ? -1 : *std::max_element(ranks.begin(), ranks.end());
  std::vector<size_t> start(static_cast<size_t>(highest) + 2, 0);
  const auto slot = [&](int rank) {
    return static_cast<size_t>(direction == Qt::AscendingOrder ? rank : highest - rank);
  };
  for (const int rank : ranks) ++start[slot(rank) + 1];
  for (size_t i = 1; i < start.size(); ++i) start[i] += start[i - 1];
  std::vector<int> order(ranks.size());
  for (size_t row = 0; row < ranks.size(); ++row) order[start[slot(ranks[row])]++] = static_cast<int>(row);
  return order;
}

}  // namespace assistant
