// excel::Application: the automation server, as Excel's Application object,
// over one LibreOffice Calc process shared by the whole program.
#pragma once

#include <QString>
#include <QVariant>
#include <functional>
#include <memory>
#include <optional>

#include "platform/excel/workbook.h"

namespace excel {

struct ApplicationState;

class Application;

class Workbooks {
 public:
  explicit Workbooks(std::shared_ptr<ApplicationState> app) : app_(std::move(app)) {}
  // A new default workbook: three sheets, Sheet1 to Sheet3.
  Workbook Add();
  // A new workbook from a template file; error 1004 when it cannot be opened.
  Workbook Add(const QString& template_path);
  int Count() const;

 private:
  std::shared_ptr<ApplicationState> app_;
};

class Application {
 public:
  // A new Application object. The office process behind it is the program's
  // running one when it is alive, else a new one is started. Call it on the
  // GUI thread: the office is killed when the thread that started it ends.
  static std::shared_ptr<Application> Create();
  ~Application();

  bool IsAlive() const;
  // The office process behind this application (its process group too).
  long OfficePid() const;
  // Operations sent to the office so far, for measuring what a block costs.
  long OfficeCallCount() const;
  // DisplayAlerts is only recorded: the office works headless and shows no
  // alert of its own, and every question Excel would ask (overwriting a file)
  // is asked by the program itself before it reaches the office.
  bool DisplayAlerts() const;
  void SetDisplayAlerts(bool on);
  // False locks the views of every open workbook, and of those opened while
  // it stays False; True releases them.
  bool ScreenUpdating() const;
  void SetScreenUpdating(bool on);
  bool Visible() const;
  // Visible = True hands the active workbook to the user: see HandOver.
  void SetVisible(bool on);
  ::excel::Workbooks Workbooks() const { return ::excel::Workbooks(state_); }
  std::optional<Workbook> ActiveWorkbook() const;
  // Application.Run: "Macro", "Module.Macro", "'Book.xls'!Macro" of an open
  // workbook. A missing macro, a failing one and a project the office cannot
  // compile all raise an error.
  QVariant Run(const QString& macro);

  // How a file is shown to the user on Visible; tests replace it. The default
  // opens it with the desktop's spreadsheet application when there is a display.
  using Opener = std::function<void(const QString& file)>;
  static void SetDesktopOpener(Opener opener);

  const std::shared_ptr<ApplicationState>& State() const { return state_; }

 private:
  Application();
  void HandOver(Workbook& book);

  std::shared_ptr<ApplicationState> state_;
};

}  // namespace excel
