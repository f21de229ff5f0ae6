// excel::Worksheet: one sheet of a workbook, as Excel's Worksheet object.
#pragma once

#include <QString>
#include <memory>

#include "platform/excel/range.h"

namespace excel {

struct SheetState;

class Worksheet {
 public:
  explicit Worksheet(std::shared_ptr<SheetState> state) : state_(std::move(state)) {}

  QString Name() const;
  void SetName(const QString& name);  // 1004 when another sheet has the name
  void Activate();
  void Select() { Activate(); }
  // 1-based; outside the .xls grid (65,536 rows, 256 columns) is error 1004.
  ::excel::Range Cells(int row, int column) const;
  ::excel::Range Range(const ::excel::Range& cell1, const ::excel::Range& cell2) const;
  // Range("A1:D20") or Range of a defined name; 1004 when it names no cells.
  ::excel::Range Range(const QString& address) const;
  // Columns(i): the whole column i.
  ::excel::Range Columns(int index) const;
  // Protect: the office protects contents and drawing objects together, so
  // any of the three switches protects the sheet; scenarios have no switch of their own.
  void Protect(bool drawing_objects, bool contents, bool scenarios, const QString& password = QString());
  bool ProtectContents() const;

 private:
  std::shared_ptr<SheetState> state_;
};

}  // namespace excel
