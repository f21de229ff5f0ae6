#include "assistant/mlistview_extensions.h"

#include "assistant/list_view.h"

namespace assistant {

namespace {

void SortBy(ListView& list, int column, Qt::SortOrder order, SortKind kind) {
  list.SetSorted(false);
  list.SortRows(column, order, kind);
}

}  // namespace

void SortByDate(ListView& list, int column, Qt::SortOrder order) { SortBy(list, column, order, SortKind::kDate); }

void SortByNumber(ListView& list, int column, Qt::SortOrder order) {
  SortBy(list, column, order, SortKind::kNumber);
}

void SortByTimeBlock(ListView& list, int column, Qt::SortOrder order) {
  SortBy(list, column, order, SortKind::kTimeBlock);
}

}  // namespace assistant
