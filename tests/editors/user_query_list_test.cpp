// The user query list editor: saved queries taken in (and refused when a
// user query has the name already), pending entries, and removals asked
// for and carried out at once.
#include <QPushButton>

#include "editor_fixture.h"
#include "editors/bas_edit_user_query_list.h"
#include "editors/frm_edit_user_query_list.h"

namespace {

using basEditUserQueryList::frmEditUserQueryList_OnShow;

const QString kTitle = QStringLiteral("User Query Editor");
const QString kTaken = QStringLiteral("A query with this name already exists.  Selection cancelled.");

class UserQueryListTest : public EditorTest {
 protected:
  void SetUp() override {
    EditorTest::SetUp();
    OpenReportsFixture();
  }

  QStringList UserQueryNamed(const QString& name) const {
    return EngineRows(QStringLiteral("SELECT QueryID, QueryName, Author, ExcelTemplate FROM tblUserQueries WHERE "
                                     "QueryName = '") +
                      name + QStringLiteral("'"));
  }

  QStringList ExportedNamed(const QString& name) const {
    return ExportedRows(QStringLiteral("tblUserQueries")).filter(QStringLiteral(",\"") + name + QStringLiteral("\","));
  }

  static void TakeIn(frmEditUserQueryList& form, const QString& savedQuery) {
    ClickEntry(*form.lstQueryDefs, savedQuery);
    QTest::mouseClick(form.cmdSelect, Qt::LeftButton);
  }

  static void Remove(frmEditUserQueryList& form, const QString& userQuery) {
    ClickEntry(*form.lstAvailableUserQueries, userQuery);
    QTest::mouseClick(form.cmdDelete, Qt::LeftButton);
  }
};

TEST_F(UserQueryListTest, SavedQueriesAreTakenInAsPendingEntriesAndAddedByOk) {
  WhenShown<frmEditUserQueryList>([&](frmEditUserQueryList& form) {
    EXPECT_EQ(form.windowTitle(), kTitle);
    // The saved queries in the database's order, without Access's hidden ones.
    QStringList saved = database->QueryDefNames();
    saved.removeIf([](const QString& name) { return name.startsWith(QLatin1Char('~')); });
    EXPECT_EQ(Entries(*form.lstQueryDefs), saved);
    EXPECT_EQ(saved.size(), 21);
    EXPECT_EQ(form.lstAvailableUserQueries->count(), 10);

    TakeIn(form, QStringLiteral("Sales by Year"));  // a user query already
    EXPECT_EQ(form.lstAvailableUserQueries->count(), 10);

    DoubleClickEntry(*form.lstQueryDefs, QStringLiteral("Products by Category"));
    ASSERT_EQ(form.lstAvailableUserQueries->count(), 11);
    const QListWidgetItem* pending = form.lstAvailableUserQueries->item(10);
    EXPECT_EQ(pending->text(), QStringLiteral("Products by Category"));
    EXPECT_EQ(pending->data(Qt::UserRole).toInt(), basEditUserQueryList::kPendingQuery);
    EXPECT_EQ(form.lstAvailableUserQueries->currentItem(), pending);
    TakeIn(form, QStringLiteral("Products by Category"));  // taken in a moment ago
    EXPECT_EQ(form.lstAvailableUserQueries->count(), 11);

    // A pending entry goes without a question and without touching a table.
    Remove(form, QStringLiteral("Products by Category"));
    EXPECT_EQ(form.lstAvailableUserQueries->count(), 10);
    TakeIn(form, QStringLiteral("Current Product List"));
    TakeIn(form, QStringLiteral("Products by Category"));
    EXPECT_TRUE(UserQueryNamed(QStringLiteral("Current Product List")).isEmpty());
    QTest::mouseClick(form.cmdOK, Qt::LeftButton);
    EXPECT_FALSE(form.isVisible());
  });
  frmEditUserQueryList_OnShow();

  ASSERT_EQ(script.MessageBoxes().size(), 2);
  for (const auto& box : script.MessageBoxes()) {
    EXPECT_EQ(box.prompt, kTaken);
    EXPECT_EQ(box.style, platform::vbExclamation);
    EXPECT_EQ(box.title, kTitle);
  }
  EXPECT_TRUE(storeErrors.isEmpty()) << storeErrors.join('|').toStdString();
  EXPECT_EQ(UserQueryNamed(QStringLiteral("Current Product List")),
            QStringList{QStringLiteral("11|Current Product List||")});
  EXPECT_EQ(UserQueryNamed(QStringLiteral("Products by Category")),
            QStringList{QStringLiteral("12|Products by Category||")});
  EXPECT_EQ(ExportedNamed(QStringLiteral("Current Product List")).size(), 1);
  EXPECT_EQ(ExportedNamed(QStringLiteral("Products by Category")).size(), 1);
  EXPECT_EQ(ExportedRows(QStringLiteral("tblUserQueries")).size(), 12);
}

TEST_F(UserQueryListTest, RemovingWarnsWithTheReportsThatHoldTheQueryAndIsNotUndoneByCancel) {
  ASSERT_TRUE(store->AddReportUserQueries(7, {4}));  // Quarterly holds it beside Contacts
  const QString warning = QStringLiteral(
      "The selected query is currently a member of the following user report(s):\r\n\r\n'Contacts, Quarterly'\r\n\r\n"
      "Are you sure you want to remove the query?");
  WhenShown<frmEditUserQueryList>([&](frmEditUserQueryList& form) {
    script.AnswerMessageBox(platform::vbNo);
    Remove(form, QStringLiteral("Customers and Suppliers by City"));
    EXPECT_EQ(form.lstAvailableUserQueries->count(), 10);
    EXPECT_EQ(UserQueryNamed(QStringLiteral("Customers and Suppliers by City")).size(), 1);

    script.AnswerMessageBox(platform::vbYes);
    Remove(form, QStringLiteral("Customers and Suppliers by City"));
    EXPECT_EQ(form.lstAvailableUserQueries->count(), 9);
    QTest::mouseClick(form.cmdCancel, Qt::LeftButton);
  });
  frmEditUserQueryList_OnShow();

  ASSERT_EQ(script.MessageBoxes().size(), 2);
  for (const auto& box : script.MessageBoxes()) {
    EXPECT_EQ(box.prompt, warning);
    EXPECT_EQ(box.style, 308);
    EXPECT_EQ(box.title, QStringLiteral("WARNING"));
  }
  EXPECT_TRUE(UserQueryNamed(QStringLiteral("Customers and Suppliers by City")).isEmpty());
  EXPECT_TRUE(ExportedNamed(QStringLiteral("Customers and Suppliers by City")).isEmpty());
  // Its links went with it.
  EXPECT_TRUE(EngineRows(QStringLiteral("SELECT OutputID FROM tblExportableResults_UserQueries WHERE QueryID = 4"))
                  .isEmpty());
  const QStringList links = ExportedRows(QStringLiteral("tblExportableResults_UserQueries"));
  EXPECT_TRUE(links.filter(QRegularExpression(QStringLiteral(",4$"))).isEmpty()) << links.join('\n').toStdString();
  EXPECT_EQ(links.size(), 10);  // eleven, one added above, both links of query 4 gone
}

TEST_F(UserQueryListTest, AQueryInNoReportIsRemovedAfterAPlainQuestion) {
  ASSERT_TRUE(store->AddUserQuery(QStringLiteral("Invoices")));
  WhenShown<frmEditUserQueryList>([&](frmEditUserQueryList& form) {
    script.AnswerMessageBox(platform::vbYes);
    Remove(form, QStringLiteral("Invoices"));
    EXPECT_FALSE(Entries(*form.lstAvailableUserQueries).contains(QStringLiteral("Invoices")));
  });
  frmEditUserQueryList_OnShow();

  ASSERT_EQ(script.MessageBoxes().size(), 1);
  EXPECT_EQ(script.MessageBoxes()[0].prompt,
            QStringLiteral("The selected query is not currently a member of any user reports\r\n\r\nThis operation will "
                           "take place immediately.  Remove the user query?"));
  EXPECT_EQ(script.MessageBoxes()[0].style, 292);
  EXPECT_EQ(script.MessageBoxes()[0].title, QStringLiteral("Remove?"));
  EXPECT_TRUE(UserQueryNamed(QStringLiteral("Invoices")).isEmpty());
  EXPECT_TRUE(ExportedNamed(QStringLiteral("Invoices")).isEmpty());
}

TEST_F(UserQueryListTest, AFileAnotherProgramIsChangingRefusesRemovalAndAdditionsInTheDialogsOwnWords) {
  HeldWriteLock lock(path);
  ASSERT_TRUE(lock.Held());
  WhenShown<frmEditUserQueryList>([&](frmEditUserQueryList& form) {
    script.AnswerMessageBox(platform::vbYes);
    Remove(form, QStringLiteral("Sales by Year"));
    EXPECT_TRUE(Entries(*form.lstAvailableUserQueries).contains(QStringLiteral("Sales by Year")));

    TakeIn(form, QStringLiteral("Products by Category"));
    QTest::mouseClick(form.cmdOK, Qt::LeftButton);
    EXPECT_TRUE(form.isVisible());
    EXPECT_EQ(form.lstAvailableUserQueries->currentItem()->data(Qt::UserRole).toInt(),
              basEditUserQueryList::kPendingQuery);

    // Once the other program is done, the same OK goes through.
    lock.Release();
    QTest::mouseClick(form.cmdOK, Qt::LeftButton);
    EXPECT_FALSE(form.isVisible());
  });
  frmEditUserQueryList_OnShow();

  ASSERT_EQ(BoxTitles(), (QStringList{QStringLiteral("WARNING"),
                                      QStringLiteral("basEditUserQueryList::frmEditUserQueryList_OnDelete"),
                                      QStringLiteral("basEditUserQueryList::frmEditUserQueryList_cmdOK_OnClick")}));
  const auto& removal = script.MessageBoxes()[1];
  EXPECT_TRUE(removal.prompt.startsWith(QStringLiteral("Error: ")));
  EXPECT_TRUE(removal.prompt.endsWith(QStringLiteral("\r\n\r\nSelected User Query could not be deleted.")))
      << removal.prompt.toStdString();
  EXPECT_EQ(removal.style, platform::vbExclamation);
  EXPECT_TRUE(script.MessageBoxes()[2].prompt.endsWith(
      QStringLiteral("\r\n\r\nError updating the list of available user queries.")));
  EXPECT_TRUE(storeErrors.isEmpty()) << storeErrors.join('|').toStdString();
  EXPECT_EQ(UserQueryNamed(QStringLiteral("Sales by Year")).size(), 1);
  EXPECT_EQ(ExportedNamed(QStringLiteral("Sales by Year")).size(), 1);
  EXPECT_EQ(ExportedNamed(QStringLiteral("Products by Category")).size(), 1);
}

}  // namespace
