// MListViewExtensions: the table browser's sorts that do not compare texts:
// by date, by number, and by the clock time a time block starts at. Each
// switches the control's own sort off first so the two do not fight, and
// leaves the order as it was when a cell does not read as its kind.
#pragma once

#include <Qt>

namespace assistant {

class ListView;

void SortByDate(ListView& list, int column, Qt::SortOrder order);
void SortByNumber(ListView& list, int column, Qt::SortOrder order);
// Time blocks ("06:00-10:00") by their first clock time; a text with none
// after the ones with one, by text.
void SortByTimeBlock(ListView& list, int column, Qt::SortOrder order);

}  // namespace assistant
