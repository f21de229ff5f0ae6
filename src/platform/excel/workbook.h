// excel::Workbook and its Worksheets collection, as Excel's objects.
#pragma once

#include <QString>
#include <memory>

#include "platform/excel/worksheet.h"

namespace excel {

struct WorkbookState;

class Worksheets {
 public:
  explicit Worksheets(std::shared_ptr<WorkbookState> book) : book_(std::move(book)) {}
  int Count() const;
  Worksheet Item(int index) const;            // 1-based; error 9 when out of range
  Worksheet Item(const QString& name) const;  // error 9 when no sheet has the name
  // A new sheet named "SheetN" before the active sheet, made active.
  Worksheet Add();

 private:
  std::shared_ptr<WorkbookState> book_;
};

class Workbook {
 public:
  explicit Workbook(std::shared_ptr<WorkbookState> state) : state_(std::move(state)) {}

  // Saved in Excel 97-2003 format; error 1004 when the file cannot be written.
  void SaveAs(const QString& file_name);
  void Save();
  void Activate();
  Worksheet ActiveSheet() const;
  ::excel::Worksheets Worksheets() const { return ::excel::Worksheets(state_); }
  void Close();
  bool IsOpen() const;
  QString FullName() const;  // the file last saved to, empty before the first save
  bool Saved() const;        // no change since the last save
  // The workbook carries a macro project (from an .xls template's VBA).
  bool HasMacros() const;
  // VBProject.VBComponents.Add(standard module).CodeModule.AddFromString:
  // a VBA module in the workbook's project, saved with it into the .xls.
  // 1004 when a module of that name exists.
  void AddCodeModule(const QString& name, const QString& source);
  // VBComponents(name).CodeModule's text as the office holds it; 1004 when
  // the project has no module of that name.
  QString CodeModuleText(const QString& name) const;

  const std::shared_ptr<WorkbookState>& State() const { return state_; }

 private:
  std::shared_ptr<WorkbookState> state_;
};

}  // namespace excel
