// Every SQL statement the program issues against its three report tables,
// one builder each. The texts are kept piece for piece as other programs of
// the family issue them (blanks, parentheses, the mixed "From"/"FROM"), so
// that a statement can be compared with theirs character for character.
// Keys are written in plain decimal; texts follow the rules of sql_text.h.
#pragma once

#include <QString>
#include <QVector>
#include <cstdint>

namespace reportdb::sql {

using Key = std::int32_t;

// --- tblExportableResults -------------------------------------------------

// The report named exactly `name` (Jet compares without regard to case);
// run before a report is added.
QString ReportByName(const QString& name);
// OutputID and Abbreviation of every report, by name.
QString ReportList();
// DateCreated, Author and Description of one report.
QString ReportDetails(Key outputId);
// Author, Abbreviation and Description read when a report is run.
QString ReportHeaderForRun(Key outputId);
// The description goes in between quotes as typed: an apostrophe in it makes
// Jet refuse the statement, and the caller reports that as a database error.
QString UpdateReportDescription(Key outputId, const QString& description);
// Only the report row; its link rows stay behind.
QString DeleteReport(Key outputId);

// --- tblExportableResults_UserQueries -------------------------------------

QString DeleteReportLinks(Key outputId);
// Every link row that names one user query, removed with the query itself so
// that no report is left pointing at a query that is gone.
QString DeleteQueryLinks(Key queryId);
// QueryID, QueryName of a report's member queries, by name.
QString ReportMembersByName(Key outputId);
// QueryName, QueryID of a report's member queries, by name (the tree's order).
QString ReportMembersForTree(Key outputId);
// QueryID, QueryName of a report's member queries, by key.
QString ReportMembersByKey(Key outputId);
// The QueryIDs linked to a report, ascending: the order a run exports them.
// Links to deleted queries are included.
QString ReportQueryKeysForRun(Key outputId);
// The names of the reports that use one user query.
QString ReportsUsingQuery(Key queryId);

// --- tblUserQueries ---------------------------------------------------------

// QueryID, QueryName of every user query, by name.
QString UserQueriesByName();
// QueryName, QueryID of every user query, by name.
QString UserQueriesNameFirst();
// The user query named `name`; used to find the key of a row just added.
QString UserQueryByName(const QString& name);

enum class KeyOrder { kByName, kByKey };
// QueryID, QueryName of the user queries whose key is in `keys`.
// An empty `keys` raises error 5.
QString UserQueriesInKeys(const QVector<Key>& keys, KeyOrder order);
// QueryID, QueryName of the user queries whose key is not in `keys`.
// An empty `keys` raises error 5.
QString UserQueriesNotInKeys(const QVector<Key>& keys);

// QueryID, Author and the destination fields, for the destination editor.
QString QueryDestination(Key queryId);
// The destination fields and Author, as the properties list shows them.
QString QueryDestinationForProperties(Key queryId);
// QueryID, Author, DefaultQueryParameters, for the parameters editor.
QString QueryParameters(Key queryId);
// DefaultQueryParameters alone, as the properties list shows it.
QString QueryParametersForProperties(Key queryId);
// Destination, QueryName, parameters and macros, read when a query is run.
QString UserQueryForRun(Key queryId);

// The texts are trimmed of blanks and quoted. `userName` is the signed-in
// user's login name: a query's Author is always whoever changed it last,
// never what a dialog showed.
QString UpdateQueryDestination(Key queryId, const QString& templatePath, const QString& sheetName,
                               std::int16_t targetRow, std::int16_t targetColumn, const QString& macroList,
                               const QString& userName);
QString UpdateQueryParameters(Key queryId, const QString& parameterList, const QString& userName);
QString DeleteUserQuery(Key queryId);

}  // namespace reportdb::sql
