#include "assistant/pane_layout.h"

namespace assistant {

namespace {

// Gaps between a tree and its list, and the room the list leaves at the right.
constexpr float kListGap = 40;
constexpr float kListAllowance = 140;
constexpr float kTitleInset = 20;

}  // namespace

PaneLayout SizeControls(const PaneFrame& frame, float x) {
  if (x < kLayoutMargin) x = kLayoutMargin;
  if (x > frame.windowWidth - kLayoutMargin) x = frame.windowWidth - kLayoutMargin;

  PaneLayout layout;
  layout.splitter = x;
  const float listLeft = x + kListGap;
  const float listWidth = frame.windowWidth - (x + kListAllowance);
  const float top = frame.titlesHeight + (frame.toolbarVisible ? frame.toolbarHeight : 0);

  const float queryTop = top + kReportRowHeight + kTitleStripHeight;
  layout.picture2 = {0, queryTop + kQueryRowHeight, frame.windowWidth, kTitleStripHeight};
  float tablesHeight = frame.innerHeight - layout.picture2.bottom();
  if (frame.statusVisible) tablesHeight -= frame.statusHeight;
  if (tablesHeight < 0) tablesHeight = 0;

  const float tops[3] = {top, queryTop, layout.picture2.bottom()};
  const float heights[3] = {kReportRowHeight, kQueryRowHeight, tablesHeight};
  // Each row's titles sit in the strip just above it.
  const float titleTops[3] = {top - frame.titlesHeight, top + kReportRowHeight, layout.picture2.top};
  for (int row = 0; row < 3; ++row) {
    layout.trees[row] = {0, tops[row], x, heights[row]};
    layout.lists[row] = {listLeft, tops[row], listWidth, heights[row]};
    layout.treeTitles[row] = {0, titleTops[row], x, kTitleStripHeight};
    layout.listTitles[row] = {listLeft + kTitleInset, titleTops[row], listWidth - 2 * kTitleInset, kTitleStripHeight};
  }
  layout.splitterBar = {x, top, kListGap, layout.trees[2].bottom() - top};
  return layout;
}

float DragBarLeft(float windowWidth, float position) {
  if (position < kDragMargin) return kDragMargin;
  if (position > windowWidth - kDragMargin) return windowWidth - kDragMargin;
  return position;
}

}  // namespace assistant
