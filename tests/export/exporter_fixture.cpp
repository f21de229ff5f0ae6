#include "exporter_fixture.h"

#include "export/excel_slots.h"

namespace {

void EmptySlots() {
  if (gExcelWorkbook && gExcelWorkbook->IsOpen()) {
    try {
      gExcelWorkbook->Close();
    } catch (const platform::AppError&) {
    }
  }
  ReleaseExcelSlots();
  gNewExcelInstance = true;
  gAutoFitExcelColumns = false;
  gTemplateSearch = {};
}

}  // namespace

void ExporterTest::SetUp() {
  EmptySlots();
  platform::setDialogs(&dialogs_);
  excel::Application::SetDesktopOpener([this](const QString& file) { opened_ << file; });
}

void ExporterTest::TearDown() {
  EmptySlots();
  excel::Application::SetDesktopOpener([](const QString&) {});
  platform::setDialogs(nullptr);
  EXPECT_EQ(dialogs_.PendingAnswers(), 0);
}

platform::AppError ExporterTest::ErrorOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const platform::AppError& e) {
    return e;
  }
  ADD_FAILURE() << "no error raised";
  return platform::AppError(0, QString());
}
