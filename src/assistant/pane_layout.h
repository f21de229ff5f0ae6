// Where the Export Assistant's panes go, in twips: three rows of a tree
// beside a list, a movable splitter between trees and lists, title strips
// above the rows. Only the bottom row (the table browser) grows with the
// window's height; the splitter keeps 1500 twips from either side.
#pragma once

namespace assistant {

struct TwipsRect {
  float left = 0;
  float top = 0;
  float width = 0;
  float height = 0;
  float bottom() const { return top + height; }
};

// The window's sizes that the layout starts from.
struct PaneFrame {
  float windowWidth = 0;
  float innerHeight = 0;
  float titlesHeight = 0;  // picTitles
  float toolbarHeight = 0;
  bool toolbarVisible = true;
  float statusHeight = 0;
  bool statusVisible = true;
};

struct PaneLayout {
  float splitter = 0;  // its left, where the trees end
  TwipsRect trees[3];  // reports, user queries, top-level tables
  TwipsRect lists[3];
  TwipsRect treeTitles[3];  // index 0 of each title pair
  TwipsRect listTitles[3];  // index 1
  TwipsRect picture2;       // the strip above the bottom row
  TwipsRect splitterBar;    // imgSplitter: from the top row to the bottom row's end
};

// The design's fixed rows: the reports row, the strip with the query
// titles, the query row and the strip above the tables.
constexpr float kReportRowHeight = 1500;
constexpr float kTitleStripHeight = 285;
constexpr float kQueryRowHeight = 1000;

// Closest the splitter may be laid out to either side, and dragged to.
constexpr float kLayoutMargin = 1500;
constexpr float kDragMargin = 500;
// The narrowest the window may be.
constexpr float kMinimumWindowWidth = 3000;

PaneLayout SizeControls(const PaneFrame& frame, float x);

// Where the moving bar goes while the splitter is dragged to `position`.
float DragBarLeft(float windowWidth, float position);

}  // namespace assistant
