// The report store: the one way the Export Assistant and the report editors
// read and change the three report tables. Every statement comes from the
// SQL catalogue (sql_catalogue.h); inserts go through table recordsets.
//
// The store keeps a database handle of its own, opened on the file the main
// window has open. One engine serves each file in the process, so a row
// written through either handle is seen at once through the other; the
// duplicate-name check and the list fillers read through the program's
// handle for that reason.
//
// Every operation reports its own failure (the error's description, a blank
// line and whom to contact) and returns: a change answers false, a reader
// nullptr. Inside a RaiseErrorsInstead scope the error goes to the caller
// instead, so that one transaction can be rolled back and reported once.
#pragma once

#include <QDate>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVector>
#include <cstdint>
#include <functional>
#include <memory>

class QComboBox;
class QListWidget;

namespace dao {
class Database;
class Recordset;
}  // namespace dao

namespace platform {
class AppError;
}

namespace reportdb {

using Key = std::int32_t;

// AddNewReport's answer when a report of that name exists.
constexpr Key kReportNameTaken = -1111;

// A list box or a combo box, seen the same way: items with a text and a key
// (the key in Qt::UserRole, the family's ItemData).
class ListControl {
 public:
  ListControl(QListWidget& list);  // NOLINT: either control stands for a list
  ListControl(QComboBox& combo);   // NOLINT

  void Clear();
  void AddItem(const QString& text, const QVariant& key = QVariant());
  int Count() const;
  QString Text(int index) const;
  QVariant ItemData(int index) const;
  void SetListIndex(int index);

 private:
  QListWidget* list_ = nullptr;
  QComboBox* combo_ = nullptr;
};

// The first item matching `wanted`, or -1: a text is compared trimmed and
// without regard to case, a number with the items' keys.
int FindListItem(const ListControl& list, const QVariant& wanted);

// What the store needs of the program around it.
struct StoreServices {
  // The handle the main window has open (the program's database).
  std::function<dao::Database*()> programDatabase;
  // Shows an unexpected error; `message` is already worded for the user.
  std::function<void(const QString& message, const platform::AppError& error)> reportError;
};

class ReportStore {
 public:
  explicit ReportStore(StoreServices services);
  virtual ~ReportStore();

  // Opens the store's own handle on `path` (the file the program has open).
  bool OpenOwnDatabase(const QString& path);
  dao::Database* OwnDatabase() const { return own_.get(); }

  // --- Changes ---
  // The new report's OutputID, kReportNameTaken after telling the user the
  // name is taken (by Jet's comparison: case does not count), or 0 after a
  // reported failure. The name is stored as given, untrimmed.
  Key AddNewReport(const QString& name, const QDate& created, const QString& author, const QString& description);
  bool DeleteReport(Key outputId);
  // The description goes into the statement as typed (see sql_catalogue.h).
  bool UpdateReportDescription(Key outputId, const QString& description);
  bool AddUserQuery(const QString& queryName);
  bool DeleteReportUserQueries(Key outputId);
  // One link row per key, written in the order given.
  bool AddReportUserQueries(Key outputId, const QVector<Key>& queryIds);
  bool UpdateQueryDestination(Key queryId, const QString& templatePath, const QString& sheetName,
                              std::int16_t targetRow, std::int16_t targetColumn, const QString& macroList);
  bool UpdateQueryParameters(Key queryId, const QString& parameterList);
  // Removes a user query and, in the same transaction, the link rows that
  // name it, so no report is left pointing at a query that is gone.
  bool DeleteUserQuery(Key queryId);

  // --- Readers (the caller reads and drops the recordset) ---
  std::unique_ptr<dao::Recordset> InitQueryDestination(Key queryId);
  std::unique_ptr<dao::Recordset> InitQueryParameters(Key queryId);
  std::unique_ptr<dao::Recordset> ShowOutputReport(Key outputId);
  std::unique_ptr<dao::Recordset> InitSelectedReportQueries(Key outputId);
  // Both give the queries whose key is NOT in `queryIds`: the one operation
  // under two names; the caller hands each the list that makes it right.
  std::unique_ptr<dao::Recordset> AvailableReportQueries(const QVector<Key>& queryIds);
  std::unique_ptr<dao::Recordset> SelectedReportQueries(const QVector<Key>& queryIds);

  // --- List fillers: item text = name, item key = the row's key ---
  void InitUserQueryList(ListControl list);
  void ShowUserQueryDestination(ListControl list);
  void ShowUserQueryParameters(ListControl list);
  void ShowSelectedReportQueries(ListControl list, const QVector<Key>& queryIds);
  // mode 1: the queries in `queryIds` by key; mode 0: the report's members
  // by key; any other mode leaves the list as it is.
  void ShowReportQueriesByKey(ListControl list, const QVector<Key>& queryIds, int mode, Key outputId);
  void InitReportList(ListControl list, const QVariant& select = QVariant());
  // The names of the saved queries, in the database's own order.
  void InitDatabaseTableDefs(QListWidget& list);

  // The stored-list writer (stored_lists.h), as the editors call it.
  static QString fnMakeString(const QStringList& items);

  // Errors raised inside the store reach the caller while one of these lives.
  class RaiseErrorsInstead {
   public:
    explicit RaiseErrorsInstead(ReportStore& store) : store_(store) { ++store_.raiseDepth_; }
    ~RaiseErrorsInstead() { --store_.raiseDepth_; }
    RaiseErrorsInstead(const RaiseErrorsInstead&) = delete;
    RaiseErrorsInstead& operator=(const RaiseErrorsInstead&) = delete;

   private:
    ReportStore& store_;
  };

 protected:
  // Runs `work`; true when it finished. A failure is reported (or raised
  // inside RaiseErrorsInstead) with the store's wording.
  bool Reporting(const std::function<void()>& work);
  void ReportFailure(const platform::AppError& error);
  dao::Database& Own();
  dao::Database& Program();

 private:
  StoreServices services_;
  std::shared_ptr<dao::Database> own_;
  int raiseDepth_ = 0;
};

// Added to every failure the store reports.
QString StoreFailureMessage(const QString& description);

}  // namespace reportdb
