#include "assistant/list_view_model.h"

#include <algorithm>

#include "assistant/value_text.h"
#include "platform/dao/table_rows.h"

namespace assistant {

namespace {

// Enough decoded rows for several screens of scrolling back and forth.
constexpr int kCachedTableRows = 4096;

template <typename Key>
using ReadKey = std::optional<Key> (*)(const QString&);

// Each text read as a key; nothing when one does not read.
template <typename Key>
std::optional<std::vector<Key>> ReadKeys(const QStringList& texts, ReadKey<Key> read) {
  std::vector<Key> keys;
  keys.reserve(static_cast<size_t>(texts.size()));
  for (const QString& text : texts) {
    const std::optional<Key> key = read(text);
    if (!key) return std::nullopt;
    keys.push_back(*key);
  }
  return keys;
}

template <typename Less>
void SortOrder(std::vector<int>* order, Qt::SortOrder direction, Less less) {
  if (direction == Qt::AscendingOrder) {
    std::stable_sort(order->begin(), order->end(), less);
  } else {
    std::stable_sort(order->begin(), order->end(), [&](int a, int b) { return less(b, a); });
  }
}

}  // namespace

ListViewModel::ListViewModel(QObject* parent) : QAbstractTableModel(parent), tableTexts_(kCachedTableRows) {}

ListViewModel::~ListViewModel() = default;

void ListViewModel::ClearColumnHeaders() {
  beginResetModel();
  captions_.clear();
  endResetModel();
}

void ListViewModel::AddColumnHeader(const QString& caption) {
  beginInsertColumns(QModelIndex(), captions_.size(), captions_.size());
  captions_.append(caption);
  endInsertColumns();
}

QString ListViewModel::ColumnCaption(int column) const { return captions_.value(column); }

void ListViewModel::ClearItems() {
  beginResetModel();
  items_.clear();
  table_.reset();
  tableTexts_.clear();
  order_.clear();
  sort_.reset();
  endResetModel();
}

void ListViewModel::AddItem(const QStringList& texts) {
  const int row = rowCount();
  beginInsertRows(QModelIndex(), row, row);
  items_.push_back(texts);
  if (!order_.empty()) order_.push_back(row);
  endInsertRows();
}

void ListViewModel::ShowTableRows(std::unique_ptr<dao::TableRows> rows) {
  beginResetModel();
  items_.clear();
  tableTexts_.clear();
  order_.clear();
  sort_.reset();
  table_ = std::move(rows);
  endResetModel();
}

int ListViewModel::rowCount(const QModelIndex& parent) const {
  if (parent.isValid()) return 0;
  return table_ ? table_->RowCount() : static_cast<int>(items_.size());
}

int ListViewModel::columnCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : captions_.size(); }

int ListViewModel::SourceRow(int row) const { return order_.empty() ? row : order_[static_cast<size_t>(row)]; }

const QStringList& ListViewModel::SourceTexts(int sourceRow) const {
  if (!table_) return items_[static_cast<size_t>(sourceRow)];
  if (QStringList* cached = tableTexts_.object(sourceRow)) return *cached;
  auto* texts = new QStringList;
  for (const QVariant& value : table_->Row(sourceRow)) texts->append(ValueText(value));
  tableTexts_.insert(sourceRow, texts);
  return *texts;
}

QString ListViewModel::ItemText(int row, int column) const {
  if (row < 0 || row >= rowCount()) return QString();
  return SourceTexts(SourceRow(row)).value(column);
}

QVariant ListViewModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid() || (role != Qt::DisplayRole && role != Qt::ToolTipRole)) return QVariant();
  return ItemText(index.row(), index.column());
}

QVariant ListViewModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return QVariant();
  return captions_.value(section);
}

QStringList ListViewModel::ColumnTexts(int column) const {
  QStringList texts;
  const int rows = rowCount();
  texts.reserve(rows);
  if (table_ && column >= 0 && column < table_->Fields().size()) {
    // One pass over the table, without filling the screen cache.
    for (const QVariant& value : table_->ColumnValues(column)) texts.append(ValueText(value));
    return texts;
  }
  for (int source = 0; source < rows; ++source) texts.append(SourceTexts(source).value(column));
  return texts;
}

void ListViewModel::ResetOrder() {
  order_.resize(static_cast<size_t>(rowCount()));
  for (size_t i = 0; i < order_.size(); ++i) order_[i] = static_cast<int>(i);
}

bool ListViewModel::Sort(int column, Qt::SortOrder direction, SortKind kind) {
  const QStringList texts = ColumnTexts(column);
  std::vector<int> order(static_cast<size_t>(texts.size()));
  for (size_t i = 0; i < order.size(); ++i) order[i] = static_cast<int>(i);
  switch (kind) {
    case SortKind::kText:
      SortOrder(&order, direction, [&](int a, int b) {
        return QString::compare(texts[a], texts[b], Qt::CaseInsensitive) < 0;
      });
      break;
    case SortKind::kNumber: {
      const auto keys = ReadKeys<qint32>(texts, &NumberFromText);
      if (!keys) return false;
      SortOrder(&order, direction, [&](int a, int b) { return (*keys)[a] < (*keys)[b]; });
      break;
    }
    case SortKind::kDate: {
      const auto keys = ReadKeys<QDateTime>(texts, &DateFromText);
      if (!keys) return false;
      SortOrder(&order, direction, [&](int a, int b) { return (*keys)[a] < (*keys)[b]; });
      break;
    }
    case SortKind::kTimeBlock: {
      // A text with no clock time in it goes after every one with one.
      std::vector<int> minutes(order.size());
      for (size_t i = 0; i < order.size(); ++i) minutes[i] = FirstClockTime(texts[i]).value_or(24 * 60);
      SortOrder(&order, direction, [&](int a, int b) {
        if (minutes[a] != minutes[b]) return minutes[a] < minutes[b];
        return QString::compare(texts[a], texts[b], Qt::CaseInsensitive) < 0;
      });
      break;
    }
  }
  beginResetModel();
  order_ = std::move(order);
  sort_ = ListSort{column, direction, kind};
  endResetModel();
  return true;
}

}  // namespace assistant
