// The DAO-shaped face of the Jet engine: DBEngine, Workspace, Database,
// QueryDef with Parameters, TableDef with Fields and Indexes, Recordset.
// Values are QVariants (see recordset.h for the mapping); failures are
// platform::AppError with Jet's error numbers and wording.
#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVector>
#include <memory>

#include "jet/path_mapping.h"
#include "jet/query.h"
#include "platform/dao/recordset.h"

namespace dao {

// OpenRecordset types and Execute options, with DAO's values.
constexpr int dbOpenTable = 1;
constexpr int dbOpenDynaset = 2;
constexpr int dbOpenSnapshot = 4;
constexpr int dbFailOnError = 128;

// TableDef.Attributes bits.
constexpr long dbSystemObject = static_cast<long>(0x80000002u);
constexpr long dbHiddenObject = 0x1;
constexpr long dbAttachedTable = 0x40000000;
constexpr long dbAttachedODBC = 0x20000000;

struct Index {
  QString Name;
  QStringList Fields;  // in key order; "-" prefix for descending columns
  bool Primary = false;
  bool Unique = false;
  bool Required = false;
  bool IgnoreNulls = false;
  bool Foreign = false;
  long DistinctCount = 0;
};

struct Field {
  QString Name;
  jet::ColumnType Type = jet::ColumnType::kText;
  long Size = 0;
  bool Required = false;
  QString Caption;      // the Caption property, empty when none
  QString Description;  // the Description property
};

struct TableDef {
  QString Name;
  long Attributes = 0;
  QString SourceTableName;  // linked tables: the table's name in its file
  QString Connect;          // linked tables: ";DATABASE=path" or the ODBC string
  QVector<Field> Fields;
  QVector<Index> Indexes;
};

struct Parameter {
  QString Name;
  jet::ColumnType Type = jet::ColumnType::kText;
  QVariant Value;  // set before OpenRecordset; text is converted to Type
};

class ParameterList {
 public:
  int Count() const { return items_.size(); }
  // By position (0-based) or by name; 3265 when there is no such item.
  Parameter& Item(int index);
  Parameter& Item(const QString& name);
  QVector<Parameter>& items() { return items_; }

 private:
  QVector<Parameter> items_;
};

class Database;

class QueryDef {
 public:
  QString Name() const { return name_; }
  QString SQL() const { return sql_; }
  jet::QueryType Type() const { return type_; }
  ParameterList& Parameters() { return parameters_; }
  // Runs the query with the parameters' values; 3061 when some are not set.
  std::unique_ptr<Recordset> OpenRecordset();

 private:
  friend class Database;
  std::shared_ptr<jet::QueryEngine> engine_;
  QString name_;
  QString sql_;
  jet::QueryType type_ = jet::QueryType::kSelect;
  ParameterList parameters_;
};

class Database {
 public:
  // Use Workspace::OpenDatabase.
  explicit Database(std::shared_ptr<jet::QueryEngine> engine, QString name, bool read_only = false);

  QString Name() const { return name_; }
  // A SELECT/UNION/TRANSFORM statement, or the name of a table or saved query.
  // A local table's recordset can add and change rows.
  std::unique_ptr<Recordset> OpenRecordset(const QString& source);
  // dbOpenTable: a local table by name (3219 for anything else); the other
  // types open as above.
  std::unique_ptr<Recordset> OpenRecordset(const QString& source, int type);

  // Runs an INSERT, UPDATE or DELETE statement, or a saved action query by
  // name, in the workspace's transaction if one is open. Jet's errors come
  // as AppError with Jet's number and wording (3022, 3061, 3075, 3078, ...);
  // a failed statement changes nothing, in a transaction or not. Every
  // failure is raised, as with dbFailOnError.
  void Execute(const QString& sql, int options = 0);
  // The rows the last Execute changed.
  long RecordsAffected() const { return records_affected_; }

  // Gets the file opened for writing (on first need: reading leaves the file
  // and its folder untouched). 3027 for a database opened read-only or a
  // file that cannot be written.
  void PrepareWrite();
  QueryDef QueryDefs(const QString& name);
  QStringList QueryDefNames();

  // Looks whether the file changed since it was last looked at (through any
  // handle on it, by any program) and, if it did, drops what was read from
  // it; true when it had changed. For callers that keep what they read (a
  // list on the screen) and want to know whether to read it again.
  bool Refresh();
  // Moves whenever a change to the file is seen, ours or another program's:
  // a list that noted it when it was filled is stale once it differs.
  quint64 Generation() const;
  QVector<TableDef> TableDefs();
  TableDef TableDefs(const QString& name);
  void Close() {}

  jet::QueryEngine& engine() { return *engine_; }
  std::shared_ptr<jet::QueryEngine> shared_engine() const { return engine_; }

 private:
  std::unique_ptr<Recordset> OpenTable(const QString& name);
  std::shared_ptr<jet::QueryEngine> engine_;
  QString name_;
  bool read_only_ = false;
  long records_affected_ = 0;
};

class Workspace {
 public:
  // Opens (or joins: one engine per file in the process) a database.
  // `exclusive` is accepted as DAO takes it; `readOnly` refuses every change.
  std::shared_ptr<Database> OpenDatabase(const QString& name, bool exclusive = false, bool readOnly = false);

  // One transaction over every database of the workspace that may be
  // written: changes made through Execute and recordsets between BeginTrans
  // and CommitTrans are written together, or not at all after Rollback.
  // Transactions do not nest (3003 for a second BeginTrans).
  void BeginTrans();
  void CommitTrans();  // 3034 without BeginTrans
  void Rollback();     // 3034 without BeginTrans

 private:
  std::vector<std::weak_ptr<Database>> databases_;
  // Closes the open transaction and hands over its engines; 3034 when none.
  std::vector<std::shared_ptr<jet::QueryEngine>> EndTransaction();

  std::vector<std::shared_ptr<jet::QueryEngine>> in_transaction_;
  bool transaction_open_ = false;
};

class DBEngine {
 public:
  // Item 0 is the default workspace; there is only ever the one.
  static Workspace& Workspaces(int index);

  // How long a change waits for another program's change to the file to
  // finish (and a read for another program's commit) before failing with
  // 3260, in milliseconds. Taken by every database opened after it is set.
  static void SetLockWait(int milliseconds);
  static int LockWait();
  // Local drivers for the Windows ones ODBC links name.
  static void SetOdbcMappings(std::vector<jet::OdbcMapping> mappings);
};

// The QVariant a DAO field value maps to, and back for parameters. A date
// is a QDateTime in `dates`: local time as DAO gives it, or UTC holding the
// same day and time, which saves the time-zone lookup a local one makes for
// every value (what a sort of a million dates would mostly spend).
QVariant ToVariant(const jet::Value& value, Qt::TimeSpec dates = Qt::LocalTime);
jet::Value ToParameterValue(const QVariant& value, jet::ColumnType type);

}  // namespace dao
