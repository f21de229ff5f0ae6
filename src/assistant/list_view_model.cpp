#include "assistant/list_view_model.h"

#include <algorithm>
#include <chrono>
#include <future>

#include "assistant/value_text.h"
#include "platform/dao/table_rows.h"

namespace assistant {

namespace {

// Enough decoded rows for several screens of scrolling back and forth.
constexpr int kCachedTableRows = 4096;

// Rows a sort reads between two looks at the windows: a few tens of
// milliseconds of a large table.
constexpr int kSortSlice = 32768;

// Ranking a million cells takes a few hundred milliseconds: done on a
// thread of its own while this one keeps looking at the windows. The ranker
// is this function's alone until the ranks are back.
std::vector<int> RankAside(const ColumnRanker& ranker, const std::function<void()>& meanwhile) {
  if (!meanwhile) return ranker.Ranks();
  std::future<std::vector<int>> ranks = std::async(std::launch::async, [&ranker] { return ranker.Ranks(); });
  while (ranks.wait_for(std::chrono::milliseconds(20)) != std::future_status::ready) meanwhile();
  return ranks.get();
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

void ListViewModel::ForgetRows() {
  tableTexts_.clear();
  order_.clear();
  sort_.reset();
  ranks_.clear();
  ++contents_;
}

void ListViewModel::ClearItems() {
  beginResetModel();
  ForgetRows();
  items_.clear();
  table_.reset();
  endResetModel();
}

void ListViewModel::AddItem(const QStringList& texts) {
  const int row = rowCount();
  beginInsertRows(QModelIndex(), row, row);
  items_.push_back(texts);
  if (!order_.empty()) order_.push_back(row);
  ranks_.clear();
  ++contents_;
  endInsertRows();
}

void ListViewModel::ShowTableRows(std::unique_ptr<dao::TableRows> rows) {
  beginResetModel();
  ForgetRows();
  items_.clear();
  table_ = std::move(rows);
  listedAt_ = table_ ? table_->ListedAt() : 0;
  endResetModel();
}

int ListViewModel::rowCount(const QModelIndex& parent) const {
  if (parent.isValid()) return 0;
  return table_ ? table_->RowCount() : static_cast<int>(items_.size());
}

int ListViewModel::columnCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : captions_.size(); }

int ListViewModel::SourceRow(int row) const {
  // A table listed again after another program's change may have more rows
  // than the order made before; those show unsorted until the next sort.
  return static_cast<size_t>(row) < order_.size() ? order_[static_cast<size_t>(row)] : row;
}

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

QVector<QVariant> ListViewModel::CellValues(int column, int first, int count) const {
  if (table_) return table_->ColumnValues(column, first, count);
  QVector<QVariant> cells;
  cells.reserve(count);
  for (int row = first; row < first + count; ++row) cells.append(items_[static_cast<size_t>(row)].value(column));
  return cells;
}

std::shared_ptr<const std::vector<int>> ListViewModel::Ranks(int column, SortKind kind,
                                                             const std::function<void()>& betweenSlices) {
  if (table_ && table_->ListedAt() != listedAt_) {
    // Another program changed the table: what was kept is of the old rows.
    ranks_.clear();
    listedAt_ = table_->ListedAt();
  }
  const auto key = std::make_pair(column, kind);
  if (const auto kept = ranks_.find(key); kept != ranks_.end()) return kept->second;
  const uint64_t contents = contents_;
  const uint64_t listedAt = listedAt_;
  ColumnRanker ranker(kind);
  // While this thread reads a slice, the one before is keyed on another.
  // Declared after the ranker, so a return waits for it before the ranker goes.
  std::future<bool> keyed;
  bool readable = true;
  for (int first = 0; first < rowCount(); first += kSortSlice) {
    QVector<QVariant> cells = CellValues(column, first, std::min(kSortSlice, rowCount() - first));
    if (keyed.valid() && !keyed.get()) {
      readable = false;
      break;
    }
    keyed = std::async(std::launch::async, [&ranker, cells = std::move(cells)] { return ranker.Append(cells); });
    if (betweenSlices) betweenSlices();
    if (contents_ != contents || (table_ && table_->ListedAt() != listedAt)) return nullptr;
  }
  if (readable && keyed.valid()) readable = keyed.get();
  auto ranks = readable ? std::make_shared<const std::vector<int>>(RankAside(ranker, betweenSlices)) : nullptr;
  ranks_[key] = ranks;
  return ranks;
}

bool ListViewModel::Sort(int column, Qt::SortOrder direction, SortKind kind,
                         const std::function<void()>& betweenSlices) {
  const std::shared_ptr<const std::vector<int>> ranks = Ranks(column, kind, betweenSlices);
  if (!ranks || static_cast<int>(ranks->size()) != rowCount()) return false;
  std::vector<int> order = OrderByRank(*ranks, direction);
  beginResetModel();
  order_ = std::move(order);
  sort_ = ListSort{column, direction, kind};
  endResetModel();
  return true;
}

}  // namespace assistant
