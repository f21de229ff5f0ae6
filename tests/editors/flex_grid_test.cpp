// The editors' grid driven by real key events, as a person types in it, and
// CFlexGrid's sizing, headings and filling from SQL on a copy of the sample.
#include <QLineEdit>
#include <QTest>
#include <limits>

#include "editor_fixture.h"
#include "editors/cflex_grid.h"
#include "editors/flex_grid.h"
#include "platform/errors/app_error.h"

namespace {

using editors::CFlexGrid;
using editors::FlexGrid;

class FlexGridTest : public EditorTest {
 protected:
  // A grid of `rows` x `cols` (fixed row and column included) whose keys go
  // through FreeInCellEdit as the editors send them, the cell's own text as
  // what Esc puts back.
  void MakeGrid(int rows, int cols, bool numericOnly) {
    grid_ = std::make_unique<FlexGrid>();
    grid_->SetRows(rows);
    grid_->SetCols(cols);
    grid_->show();
    QObject::connect(grid_.get(), &FlexGrid::KeyPress, [this, numericOnly](int& key) {
      std::int16_t code = static_cast<std::int16_t>(key);
      CFlexGrid().FreeInCellEdit(*grid_, restore_, grid_->Row(), grid_->Col(), code, numericOnly);
      key = code;
    });
  }
  void Type(const QString& text) { QTest::keyClicks(grid_.get(), text); }
  void Press(Qt::Key key) { QTest::keyClick(grid_.get(), key); }

  std::unique_ptr<FlexGrid> grid_;
  QString restore_;
};

TEST_F(FlexGridTest, FreeTextAppendsEveryKeyBackspaceTakesTheLastAndEscPutsTheCellBack) {
  MakeGrid(3, 3, false);
  grid_->SetTextMatrix(1, 1, QStringLiteral("Sheet"));
  restore_ = QStringLiteral("Sheet");
  grid_->SetCellBackColor(255);
  Type(QStringLiteral(" 1, v2"));
  EXPECT_EQ(grid_->Text(), QStringLiteral("Sheet 1, v2"));
  EXPECT_EQ(grid_->CellBackColor(), 0x80000005u);  // a key clears the red marking
  Press(Qt::Key_Backspace);
  Press(Qt::Key_Backspace);
  EXPECT_EQ(grid_->Text(), QStringLiteral("Sheet 1, "));
  Press(Qt::Key_Escape);
  EXPECT_EQ(grid_->Text(), QStringLiteral("Sheet"));
  // Two dots at most, then a dot is swallowed without a word.
  grid_->SetText(QString());
  Type(QStringLiteral("a.b.c.d"));
  EXPECT_EQ(grid_->Text(), QStringLiteral("a.b.cd"));
  grid_->SetText(QString());
  Press(Qt::Key_Backspace);
  EXPECT_EQ(grid_->Text(), QString());
  EXPECT_TRUE(script.MessageBoxes().isEmpty());
  EXPECT_FALSE(CFlexGrid().RowValuesChanged());
}

TEST_F(FlexGridTest, NumericCellsTakeDigitsAndDotsSpaceRestoresAndOtherKeysAreRefused) {
  MakeGrid(3, 2, true);
  restore_ = QStringLiteral("12");
  grid_->SetText(QStringLiteral("12"));
  Type(QStringLiteral("0.5"));
  EXPECT_EQ(grid_->Text(), QStringLiteral("120.5"));
  Type(QStringLiteral("."));
  EXPECT_EQ(grid_->Text(), QStringLiteral("120.5."));
  Type(QStringLiteral("."));
  EXPECT_EQ(grid_->Text(), QStringLiteral("120.5."));
  Press(Qt::Key_Space);
  EXPECT_EQ(grid_->Text(), QStringLiteral("12"));
  script.AnswerMessageBox(platform::vbOK);
  Type(QStringLiteral("x"));
  EXPECT_EQ(grid_->Text(), QStringLiteral("12"));
  ASSERT_EQ(script.MessageBoxes().size(), 1);
  EXPECT_EQ(script.MessageBoxes()[0].prompt, QStringLiteral("Only numeric values are allowed in this cell"));
  EXPECT_EQ(script.MessageBoxes()[0].style, 48);
  EXPECT_EQ(script.MessageBoxes()[0].title, QStringLiteral("Format Error"));
}

TEST_F(FlexGridTest, EnterWalksDownAColumnOnToTheNextAndWrapsToTheFirstCell) {
  MakeGrid(3, 3, false);
  grid_->SetRow(1);
  grid_->SetCol(1);
  QVector<QPair<int, int>> walk;
  for (int i = 0; i < 4; ++i) {
    Press(Qt::Key_Return);
    walk << qMakePair(grid_->Row(), grid_->Col());
  }
  EXPECT_EQ(walk, (QVector<QPair<int, int>>{{2, 1}, {1, 2}, {2, 2}, {1, 1}}));
  // A double-click opens no editor: the next key still reaches the cell.
  grid_->SetTextMatrix(1, 1, QStringLiteral("x"));
  const QRect cell = grid_->visualItemRect(grid_->item(1, 1));
  QTest::mouseDClick(grid_->viewport(), Qt::LeftButton, {}, cell.center());
  Type(QStringLiteral("y"));
  EXPECT_EQ(grid_->TextMatrix(1, 1), QStringLiteral("xy"));
  EXPECT_EQ(grid_->findChild<QLineEdit*>(), nullptr);
}

TEST_F(FlexGridTest, RowsAreAddedNumberedAndRemovedAndHeadingsAreJoinedWithBlanks) {
  MakeGrid(2, 2, false);
  CFlexGrid helper;
  bool number = true;
  helper.AddRow(*grid_, 3, number);
  EXPECT_EQ(grid_->Rows(), 4);
  EXPECT_EQ(grid_->TextMatrix(3, 0), QStringLiteral("3"));
  try {
    helper.AddRow(*grid_, std::numeric_limits<std::int16_t>::max(), number);
    ADD_FAILURE() << "no overflow";
  } catch (const platform::AppError& error) {
    EXPECT_EQ(error.Number(), 6);
  }
  helper.DeleteRow(*grid_, 2);
  EXPECT_EQ(grid_->Rows(), 3);
  EXPECT_EQ(grid_->TextMatrix(2, 0), QStringLiteral("3"));  // not renumbered
  FlexGrid single;
  single.SetRows(1);
  helper.DeleteRow(single, 0);
  EXPECT_EQ(single.Rows(), 1);

  QStringList labels{QString(), QStringLiteral("A"), QStringLiteral("B")};
  std::int16_t count = 2;
  std::int16_t leading = 1;
  EXPECT_EQ(helper.HeaderString(count, labels, leading).toString(), QStringLiteral("| A | B"));
  leading = 0;
  EXPECT_EQ(helper.HeaderString(count, labels, leading).toString(), QStringLiteral("A | B"));
  QStringList macroLabels{QString(), QString(), QStringLiteral("Excel Macro")};
  EXPECT_EQ(helper.HeaderString(count, macroLabels, leading).toString(), QStringLiteral(" | Excel Macro"));
  count = 3;
  EXPECT_THROW(helper.HeaderString(count, labels, leading), platform::AppError);

  helper.BasicStyle(*grid_);
  EXPECT_EQ(grid_->font().family(), QStringLiteral("Arial"));
  EXPECT_EQ(grid_->font().pointSize(), 9);
  EXPECT_EQ(grid_->palette().color(QPalette::Highlight), QColor(0, 0, 255));
}

TEST_F(FlexGridTest, PopulateFillsFromColumnZeroOrOneByFieldCountAndLeavesAnEmptyResultAlone) {
  OpenSampleDatabase();
  MakeGrid(2, 3, false);
  CFlexGrid helper;
  grid_->SetTextMatrix(1, 1, QStringLiteral("kept"));
  helper.PopulateGridSQL(*grid_, *database, QStringLiteral("SELECT QueryID FROM tblUserQueries WHERE QueryID = 0"),
                         true);
  EXPECT_EQ(grid_->Rows(), 2);
  EXPECT_EQ(grid_->TextMatrix(1, 1), QStringLiteral("kept"));

  helper.PopulateGridSQL(
      *grid_, *database,
      QStringLiteral("SELECT QueryID, QueryName FROM tblUserQueries WHERE QueryID <= 2 ORDER BY QueryID"), true);
  EXPECT_EQ(grid_->Rows(), 3);
  EXPECT_EQ(grid_->TextMatrix(1, 0), QStringLiteral("1"));
  EXPECT_EQ(grid_->TextMatrix(1, 1), QStringLiteral("1"));
  EXPECT_EQ(grid_->TextMatrix(2, 2), QStringLiteral("qryBusyWeeks"));

  helper.PopulateGridSQL(*grid_, *database,
                         QStringLiteral("SELECT QueryID, QueryName, Author, ExcelSheetName, ExcelTargetRow FROM "
                                        "tblUserQueries WHERE QueryID = 3"),
                         false);
  EXPECT_EQ(grid_->Rows(), 2);
  EXPECT_EQ(grid_->TextMatrix(1, 0), QStringLiteral("3"));
  EXPECT_EQ(grid_->TextMatrix(1, 2), QStringLiteral("Ben Carter"));

  try {
    helper.PopulateGridSQL(*grid_, *database, QStringLiteral("SELECT * FROM tblNothing"), false);
    ADD_FAILURE() << "no error";
  } catch (const platform::AppError& error) {
    EXPECT_TRUE(error.Description().endsWith(
        QStringLiteral("\r\n\r\nContact the system provider if this problem persists.")));
  }
}

}  // namespace
