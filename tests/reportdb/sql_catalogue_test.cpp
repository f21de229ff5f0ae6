// Each statement is compared whole with the text the family's other programs
// issue, so that a lost blank or parenthesis shows up here and not as a Jet
// syntax error in front of a user.
#include "reportdb/sql_catalogue.h"

#include <gtest/gtest.h>

#include "platform/errors/app_error.h"
#include "reportdb/sql_text.h"

namespace sql = reportdb::sql;

namespace {

std::string S(const QString& text) { return text.toStdString(); }

}  // namespace

TEST(ReportSql, ReportTableStatements) {
  EXPECT_EQ(S(sql::ReportByName(QStringLiteral("O'Neil catch"))),
            "SELECT tblExportableResults.OutputID From tblExportableResults "
            "WHERE (((tblExportableResults.Abbreviation)='O''Neil catch'));");
  EXPECT_EQ(S(sql::ReportList()),
            "SELECT tblExportableResults.OutputID, tblExportableResults.Abbreviation From tblExportableResults "
            "ORDER BY tblExportableResults.Abbreviation;");
  EXPECT_EQ(S(sql::ReportDetails(17)),
            "SELECT tblExportableResults.DateCreated, tblExportableResults.Author, tblExportableResults.Description "
            "From tblExportableResults WHERE (((tblExportableResults.OutputID)=17));");
  EXPECT_EQ(S(sql::ReportHeaderForRun(17)),
            "SELECT tblExportableResults.Author, tblExportableResults.Abbreviation, tblExportableResults.Description "
            "From tblExportableResults WHERE (((tblExportableResults.OutputID)=17));");
  EXPECT_EQ(S(sql::DeleteReport(-5)),
            "DELETE tblExportableResults.* From tblExportableResults WHERE (((tblExportableResults.OutputID)=-5));");
}

TEST(ReportSql, DescriptionUpdateKeepsTheTextAsTyped) {
  EXPECT_EQ(S(sql::UpdateReportDescription(3, QStringLiteral(" Yearly totals "))),
            "UPDATE tblExportableResults SET tblExportableResults.Description = ' Yearly totals ' "
            "WHERE (((tblExportableResults.OutputID)=3));");
  // An apostrophe is not doubled: Jet refuses the statement and the caller
  // reports it, leaving the old description in place.
  EXPECT_EQ(S(sql::UpdateReportDescription(3, QStringLiteral("O'Neil"))),
            "UPDATE tblExportableResults SET tblExportableResults.Description = 'O'Neil' "
            "WHERE (((tblExportableResults.OutputID)=3));");
}

TEST(ReportSql, LinkTableStatements) {
  EXPECT_EQ(S(sql::DeleteReportLinks(2147483647)),
            "DELETE tblExportableResults_UserQueries.QueryID, tblExportableResults_UserQueries.OutputID "
            "From tblExportableResults_UserQueries WHERE (((tblExportableResults_UserQueries.OutputID)=2147483647));");
  const std::string join =
      "FROM tblUserQueries INNER JOIN tblExportableResults_UserQueries ON "
      "tblUserQueries.QueryID = tblExportableResults_UserQueries.QueryID "
      "Where (((tblExportableResults_UserQueries.OutputID) =8)) ";
  EXPECT_EQ(S(sql::ReportMembersByName(8)),
            "SELECT tblUserQueries.QueryID, tblUserQueries.QueryName " + join + "ORDER BY tblUserQueries.QueryName;");
  EXPECT_EQ(S(sql::ReportMembersForTree(8)),
            "SELECT tblUserQueries.QueryName, tblExportableResults_UserQueries.QueryID " + join +
                "ORDER BY tblUserQueries.QueryName;");
  EXPECT_EQ(S(sql::ReportMembersByKey(8)),
            "SELECT tblUserQueries.QueryID, tblUserQueries.QueryName " + join + "ORDER BY tblUserQueries.QueryID;");
  EXPECT_EQ(S(sql::ReportQueryKeysForRun(8)),
            "SELECT tblExportableResults_UserQueries.QueryID From tblExportableResults_UserQueries "
            "WHERE (((tblExportableResults_UserQueries.OutputID)=8)) "
            "ORDER BY tblExportableResults_UserQueries.QueryID;");
  EXPECT_EQ(S(sql::ReportsUsingQuery(12)),
            "SELECT DISTINCT tblExportableResults.Abbreviation FROM tblUserQueries INNER JOIN "
            "(tblExportableResults INNER JOIN tblExportableResults_UserQueries ON "
            "tblExportableResults.OutputID = tblExportableResults_UserQueries.OutputID) ON "
            "tblUserQueries.QueryID = tblExportableResults_UserQueries.QueryID "
            "WHERE (((tblExportableResults_UserQueries.QueryID)=12));");
}

TEST(ReportSql, UserQueryListsAndLookups) {
  EXPECT_EQ(S(sql::UserQueriesByName()),
            "SELECT tblUserQueries.QueryID, tblUserQueries.QueryName From tblUserQueries "
            "ORDER BY tblUserQueries.QueryName;");
  EXPECT_EQ(S(sql::UserQueriesNameFirst()),
            "SELECT tblUserQueries.QueryName, tblUserQueries.QueryID From tblUserQueries "
            "ORDER BY tblUserQueries.QueryName;");
  EXPECT_EQ(S(sql::UserQueryByName(QStringLiteral("qryCatch 'A' "))),
            "SELECT tblUserQueries.QueryID, tblUserQueries.QueryName From tblUserQueries "
            "WHERE (((tblUserQueries.QueryName)='qryCatch ''A'' '));");
  EXPECT_EQ(S(sql::UserQueriesInKeys({3, 8, 12}, sql::KeyOrder::kByName)),
            "SELECT tblUserQueries.QueryID, tblUserQueries.QueryName From tblUserQueries "
            "WHERE (((tblUserQueries.QueryID) In (3,8,12))) ORDER BY tblUserQueries.QueryName;");
  EXPECT_EQ(S(sql::UserQueriesInKeys({5}, sql::KeyOrder::kByKey)),
            "SELECT tblUserQueries.QueryID, tblUserQueries.QueryName From tblUserQueries "
            "WHERE (((tblUserQueries.QueryID) In (5))) ORDER BY tblUserQueries.QueryID;");
  EXPECT_EQ(S(sql::UserQueriesNotInKeys({9, -1})),
            "SELECT tblUserQueries.QueryID, tblUserQueries.QueryName From tblUserQueries "
            "WHERE (((tblUserQueries.QueryID) Not In(9,-1)));");
  // A statement without keys is never sent: the caller hears of it as error 5.
  EXPECT_THROW(sql::UserQueriesNotInKeys({}), platform::AppError);
  try {
    sql::UserQueriesInKeys({}, sql::KeyOrder::kByName);
    ADD_FAILURE() << "an empty key list was accepted";
  } catch (const platform::AppError& error) {
    EXPECT_EQ(error.Number(), 5);
    EXPECT_EQ(S(error.Description()), "Invalid procedure call or argument");
  }
}

TEST(ReportSql, UserQueryDestinationAndParameterReads) {
  EXPECT_EQ(S(sql::QueryDestination(4)),
            "SELECT tblUserQueries.QueryID, tblUserQueries.Author, tblUserQueries.ExcelTemplate, "
            "tblUserQueries.ExcelSheetName, tblUserQueries.ExcelTargetRow, tblUserQueries.ExcelTargetColumn, "
            "tblUserQueries.ExcelMacros From tblUserQueries WHERE (((tblUserQueries.QueryID)=4));");
  EXPECT_EQ(S(sql::QueryDestinationForProperties(4)),
            "SELECT tblUserQueries.ExcelTemplate, tblUserQueries.ExcelSheetName, tblUserQueries.ExcelTargetRow, "
            "tblUserQueries.ExcelTargetColumn, tblUserQueries.ExcelMacros, tblUserQueries.Author "
            "From tblUserQueries WHERE (((tblUserQueries.QueryID)=4));");
  EXPECT_EQ(S(sql::QueryParameters(4)),
            "SELECT tblUserQueries.QueryID, tblUserQueries.Author, tblUserQueries.DefaultQueryParameters "
            "From tblUserQueries WHERE (((tblUserQueries.QueryID)=4));");
  EXPECT_EQ(S(sql::QueryParametersForProperties(4)),
            "SELECT tblUserQueries.DefaultQueryParameters From tblUserQueries "
            "WHERE (((tblUserQueries.QueryID)=4));");
  EXPECT_EQ(S(sql::UserQueryForRun(4)),
            "SELECT tblUserQueries.ExcelTemplate, tblUserQueries.ExcelSheetName, tblUserQueries.ExcelTargetRow, "
            "tblUserQueries.ExcelTargetColumn, tblUserQueries.QueryName, tblUserQueries.DefaultQueryParameters, "
            "tblUserQueries.ExcelMacros From tblUserQueries WHERE (((tblUserQueries.QueryID)=4));");
  EXPECT_EQ(S(sql::DeleteUserQuery(4)),
            "DELETE tblUserQueries.*, tblUserQueries.QueryID From tblUserQueries "
            "WHERE (((tblUserQueries.QueryID)=4));");
}

TEST(ReportSql, UpdatesTrimAndQuoteEveryText) {
  EXPECT_EQ(S(sql::UpdateQueryDestination(7, QStringLiteral("  /data/O'Neil.xlt "), QStringLiteral(" Catch "), 5, -2,
                                          QStringLiteral(" FormatReport/AddTotals "), QStringLiteral(" jsmith "))),
            "UPDATE tblUserQueries SET tblUserQueries.ExcelTemplate = '/data/O''Neil.xlt', "
            "tblUserQueries.ExcelSheetName = 'Catch', tblUserQueries.ExcelTargetRow = 5, "
            "tblUserQueries.ExcelTargetColumn = -2, tblUserQueries.ExcelMacros = 'FormatReport/AddTotals', "
            "tblUserQueries.Author = 'jsmith' WHERE (((tblUserQueries.QueryID)=7));");
  EXPECT_EQ(S(sql::UpdateQueryDestination(7, QString(), QString(), 32767, 1, QString(), QString())),
            "UPDATE tblUserQueries SET tblUserQueries.ExcelTemplate = '', tblUserQueries.ExcelSheetName = '', "
            "tblUserQueries.ExcelTargetRow = 32767, tblUserQueries.ExcelTargetColumn = 1, "
            "tblUserQueries.ExcelMacros = '', tblUserQueries.Author = '' "
            "WHERE (((tblUserQueries.QueryID)=7));");
  EXPECT_EQ(S(sql::UpdateQueryParameters(7, QStringLiteral(" O'Brien/2 "), QStringLiteral("ann"))),
            "UPDATE tblUserQueries SET tblUserQueries.DefaultQueryParameters = 'O''Brien/2', "
            "tblUserQueries.Author = 'ann' WHERE (((tblUserQueries.QueryID)=7));");
}

TEST(SqlText, QuotingTrimmingAndKeyLists) {
  EXPECT_EQ(S(reportdb::QuoteSqlText(QString())), "''");
  EXPECT_EQ(S(reportdb::QuoteSqlText(QStringLiteral("'"))), "''''");
  EXPECT_EQ(S(reportdb::QuoteSqlText(QStringLiteral("''a'"))), "'''''a'''");
  EXPECT_EQ(S(reportdb::QuoteSqlText(QStringLiteral("Catch \"1\""))), "'Catch \"1\"'");
  // Only blanks are trimmed; a tab the user typed stays part of the value.
  EXPECT_EQ(S(reportdb::TrimBlanks(QStringLiteral("  \ta b\t  "))), "\ta b\t");
  EXPECT_EQ(S(reportdb::TrimBlanks(QStringLiteral("   "))), "");
  EXPECT_EQ(S(reportdb::JoinKeyList({-2147483647 - 1, 0, 2147483647})), "-2147483648,0,2147483647");
}
