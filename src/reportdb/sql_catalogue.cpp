#include "reportdb/sql_catalogue.h"

#include "reportdb/sql_text.h"

namespace reportdb::sql {
namespace {

QString Decimal(qint64 value) { return QString::number(value); }

// The condition that closes most statements: "(((field)=key));".
QString WhereEquals(const QString& field, Key key) {
  return QStringLiteral("WHERE (((") + field + QStringLiteral(")=") + Decimal(key) + QStringLiteral("));");
}

QString WhereEqualsText(const QString& field, const QString& name) {
  return QStringLiteral("WHERE (((") + field + QStringLiteral(")=") + QuoteSqlText(name) + QStringLiteral("));");
}

// The join shared by the three member lists; they differ only in the
// selected columns and the order.
QString ReportMembers(const QString& selectList, Key outputId, const QString& orderBy) {
  return selectList +
         QStringLiteral(
             "FROM tblUserQueries INNER JOIN tblExportableResults_UserQueries ON "
             "tblUserQueries.QueryID = tblExportableResults_UserQueries.QueryID ") +
         QStringLiteral("Where (((tblExportableResults_UserQueries.OutputID) =") + Decimal(outputId) +
         QStringLiteral(")) ") + orderBy;
}

const QString kFromReports = QStringLiteral("From tblExportableResults ");
const QString kFromUserQueries = QStringLiteral("From tblUserQueries ");
const QString kSelectKeyAndName = QStringLiteral("SELECT tblUserQueries.QueryID, tblUserQueries.QueryName ");
const QString kOrderByQueryName = QStringLiteral("ORDER BY tblUserQueries.QueryName;");
const QString kOrderByQueryId = QStringLiteral("ORDER BY tblUserQueries.QueryID;");
const QString kReportKey = QStringLiteral("tblExportableResults.OutputID");
const QString kLinkReportKey = QStringLiteral("tblExportableResults_UserQueries.OutputID");
const QString kQueryKey = QStringLiteral("tblUserQueries.QueryID");

// Columns of one report or of one user query, chosen by its key.
QString OneReport(const QString& selectList, Key outputId) {
  return selectList + kFromReports + WhereEquals(kReportKey, outputId);
}

QString OneUserQuery(const QString& selectList, Key queryId) {
  return selectList + kFromUserQueries + WhereEquals(kQueryKey, queryId);
}

}  // namespace

QString ReportByName(const QString& name) {
  return QStringLiteral("SELECT tblExportableResults.OutputID ") + kFromReports +
         WhereEqualsText(QStringLiteral("tblExportableResults.Abbreviation"), name);
}

QString ReportList() {
  return QStringLiteral("SELECT tblExportableResults.OutputID, tblExportableResults.Abbreviation ") + kFromReports +
         QStringLiteral("ORDER BY tblExportableResults.Abbreviation;");
}

QString ReportDetails(Key outputId) {
  return OneReport(QStringLiteral("SELECT tblExportableResults.DateCreated, tblExportableResults.Author, "
                                  "tblExportableResults.Description "),
                   outputId);
}

QString ReportHeaderForRun(Key outputId) {
  return OneReport(QStringLiteral("SELECT tblExportableResults.Author, tblExportableResults.Abbreviation, "
                                  "tblExportableResults.Description "),
                   outputId);
}

QString UpdateReportDescription(Key outputId, const QString& description) {
  return QStringLiteral("UPDATE tblExportableResults SET ") + QStringLiteral("tblExportableResults.Description = '") +
         description + QStringLiteral("' ") + WhereEquals(kReportKey, outputId);
}

QString DeleteReport(Key outputId) { return OneReport(QStringLiteral("DELETE tblExportableResults.* "), outputId); }

QString DeleteReportLinks(Key outputId) {
  return QStringLiteral("DELETE tblExportableResults_UserQueries.QueryID, tblExportableResults_UserQueries.OutputID ") +
         QStringLiteral("From tblExportableResults_UserQueries ") + WhereEquals(kLinkReportKey, outputId);
}

QString DeleteQueryLinks(Key queryId) {
  return QStringLiteral("DELETE tblExportableResults_UserQueries.* ") +
         QStringLiteral("From tblExportableResults_UserQueries ") +
         WhereEquals(QStringLiteral("tblExportableResults_UserQueries.QueryID"), queryId);
}

QString ReportMembersByName(Key outputId) { return ReportMembers(kSelectKeyAndName, outputId, kOrderByQueryName); }

QString ReportMembersForTree(Key outputId) {
  return ReportMembers(QStringLiteral("SELECT tblUserQueries.QueryName, tblExportableResults_UserQueries.QueryID "),
                       outputId, kOrderByQueryName);
}

QString ReportMembersByKey(Key outputId) { return ReportMembers(kSelectKeyAndName, outputId, kOrderByQueryId); }

QString ReportQueryKeysForRun(Key outputId) {
  return QStringLiteral("SELECT tblExportableResults_UserQueries.QueryID ") +
         QStringLiteral("From tblExportableResults_UserQueries ") +
         QStringLiteral("WHERE (((tblExportableResults_UserQueries.OutputID)=") + Decimal(outputId) +
         QStringLiteral(")) ") + QStringLiteral("ORDER BY tblExportableResults_UserQueries.QueryID;");
}

QString ReportsUsingQuery(Key queryId) {
  return QStringLiteral("SELECT DISTINCT tblExportableResults.Abbreviation ") +
         QStringLiteral(
             "FROM tblUserQueries INNER JOIN (tblExportableResults INNER JOIN tblExportableResults_UserQueries "
             "ON tblExportableResults.OutputID = tblExportableResults_UserQueries.OutputID) ON "
             "tblUserQueries.QueryID = tblExportableResults_UserQueries.QueryID ") +
         WhereEquals(QStringLiteral("tblExportableResults_UserQueries.QueryID"), queryId);
}

QString UserQueriesByName() { return kSelectKeyAndName + kFromUserQueries + kOrderByQueryName; }

QString UserQueriesNameFirst() {
  return QStringLiteral("SELECT tblUserQueries.QueryName, tblUserQueries.QueryID ") + kFromUserQueries +
         kOrderByQueryName;
}

QString UserQueryByName(const QString& name) {
  return kSelectKeyAndName + kFromUserQueries + WhereEqualsText(QStringLiteral("tblUserQueries.QueryName"), name);
}

QString UserQueriesInKeys(const QVector<Key>& keys, KeyOrder order) {
  return kSelectKeyAndName + kFromUserQueries + QStringLiteral("WHERE (((tblUserQueries.QueryID) In (") +
         JoinKeyList(keys) + QStringLiteral(")") + QStringLiteral(")) ") +
         (order == KeyOrder::kByName ? kOrderByQueryName : kOrderByQueryId);
}

QString UserQueriesNotInKeys(const QVector<Key>& keys) {
  return kSelectKeyAndName + kFromUserQueries + QStringLiteral("WHERE (((tblUserQueries.QueryID) Not In(") +
         JoinKeyList(keys) + QStringLiteral(")") + QStringLiteral("));");
}

QString QueryDestination(Key queryId) {
  return OneUserQuery(
      QStringLiteral("SELECT tblUserQueries.QueryID, tblUserQueries.Author, tblUserQueries.ExcelTemplate, "
                     "tblUserQueries.ExcelSheetName, tblUserQueries.ExcelTargetRow, tblUserQueries.ExcelTargetColumn, "
                     "tblUserQueries.ExcelMacros "),
      queryId);
}

QString QueryDestinationForProperties(Key queryId) {
  return OneUserQuery(
      QStringLiteral(
          "SELECT tblUserQueries.ExcelTemplate, tblUserQueries.ExcelSheetName, tblUserQueries.ExcelTargetRow, "
          "tblUserQueries.ExcelTargetColumn, tblUserQueries.ExcelMacros, tblUserQueries.Author "),
      queryId);
}

QString QueryParameters(Key queryId) {
  return OneUserQuery(
      QStringLiteral("SELECT tblUserQueries.QueryID, tblUserQueries.Author, tblUserQueries.DefaultQueryParameters "),
      queryId);
}

QString QueryParametersForProperties(Key queryId) {
  return OneUserQuery(QStringLiteral("SELECT tblUserQueries.DefaultQueryParameters "), queryId);
}

QString UserQueryForRun(Key queryId) {
  return OneUserQuery(
      QStringLiteral(
          "SELECT tblUserQueries.ExcelTemplate, tblUserQueries.ExcelSheetName, tblUserQueries.ExcelTargetRow, "
          "tblUserQueries.ExcelTargetColumn, tblUserQueries.QueryName, tblUserQueries.DefaultQueryParameters, "
          "tblUserQueries.ExcelMacros "),
      queryId);
}

QString UpdateQueryDestination(Key queryId, const QString& templatePath, const QString& sheetName,
                               std::int16_t targetRow, std::int16_t targetColumn, const QString& macroList,
                               const QString& userName) {
  return QStringLiteral("UPDATE tblUserQueries SET tblUserQueries.ExcelTemplate = ") +
         QuoteSqlText(TrimBlanks(templatePath)) + QStringLiteral(", ") +
         QStringLiteral("tblUserQueries.ExcelSheetName = ") + QuoteSqlText(TrimBlanks(sheetName)) +
         QStringLiteral(", ") + QStringLiteral("tblUserQueries.ExcelTargetRow = ") + Decimal(targetRow) +
         QStringLiteral(", ") + QStringLiteral("tblUserQueries.ExcelTargetColumn = ") + Decimal(targetColumn) +
         QStringLiteral(", ") + QStringLiteral("tblUserQueries.ExcelMacros = ") + QuoteSqlText(TrimBlanks(macroList)) +
         QStringLiteral(", ") + QStringLiteral("tblUserQueries.Author = ") + QuoteSqlText(TrimBlanks(userName)) +
         QStringLiteral(" ") + WhereEquals(kQueryKey, queryId);
}

QString UpdateQueryParameters(Key queryId, const QString& parameterList, const QString& userName) {
  return QStringLiteral("UPDATE tblUserQueries SET tblUserQueries.DefaultQueryParameters = ") +
         QuoteSqlText(TrimBlanks(parameterList)) + QStringLiteral(", ") + QStringLiteral("tblUserQueries.Author = ") +
         QuoteSqlText(TrimBlanks(userName)) + QStringLiteral(" ") + WhereEquals(kQueryKey, queryId);
}

QString DeleteUserQuery(Key queryId) {
  return OneUserQuery(QStringLiteral("DELETE tblUserQueries.*, tblUserQueries.QueryID "), queryId);
}

}  // namespace reportdb::sql
