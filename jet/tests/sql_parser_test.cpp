// The Jet SQL front end: statements of every kind parse to the tree the
// translator expects, PARAMETERS names keep their blanks, and the fixed
// text-reading rules do not depend on the machine.
#include <gtest/gtest.h>

#include "jet/query.h"
#include "sql/date_math.h"
#include "sql/like_pattern.h"
#include "sql/parser.h"
#include "sql/translator.h"

namespace jet::sql {
namespace {

TEST(SqlParser, StatementsOfEveryKind) {
  Statement st;
  ASSERT_TRUE(ParseStatement("SELECT DISTINCT TOP 5 PERCENT a.x AS [The X], b.* FROM (A AS a INNER JOIN B b ON "
                             "a.id = b.id) LEFT JOIN (SELECT id FROM C) AS c ON c.id = a.id "
                             "WHERE a.x Not In (1,2) AND a.y Like \"d*#\" GROUP BY a.x HAVING Count(*) > 1 "
                             "ORDER BY a.x DESC;",
                             &st)
                  .ok());
  const SelectCore& core = st.query->select;
  EXPECT_EQ(core.quantifier, Quantifier::kDistinct);
  ASSERT_TRUE(core.top.has_value());
  EXPECT_TRUE(core.top->percent);
  EXPECT_EQ(core.items[0].alias, "The X");
  EXPECT_EQ(core.items[1].expr->kind, ExprKind::kStar);
  ASSERT_EQ(core.from.size(), 1u);
  EXPECT_EQ(core.from[0]->kind, TableRef::Kind::kJoin);
  EXPECT_EQ(core.from[0]->join, JoinKind::kLeft);
  EXPECT_EQ(core.from[0]->right->kind, TableRef::Kind::kDerived);
  EXPECT_TRUE(st.query->order_by[0].descending);

  ASSERT_TRUE(ParseStatement("TRANSFORM Sum(x) AS S SELECT a FROM t GROUP BY a PIVOT \"Q\" & b In (\"Q1\",\"Q2\")", &st).ok());
  EXPECT_EQ(st.kind, StatementKind::kCrosstab);
  EXPECT_EQ(st.pivot_in.size(), 2u);
  EXPECT_EQ(st.pivot->op, "&");

  ASSERT_TRUE(ParseStatement("SELECT a FROM t UNION ALL (SELECT b FROM u) UNION TABLE v ORDER BY a", &st).ok());
  EXPECT_TRUE(st.query->is_union);
  EXPECT_FALSE(st.query->union_all);
  EXPECT_TRUE(st.query->left->union_all);

  ASSERT_TRUE(ParseStatement("DELETE tblUserQueries.*, tblUserQueries.QueryID From tblUserQueries "
                             "WHERE (((tblUserQueries.QueryID)=7));",
                             &st)
                  .ok());
  EXPECT_EQ(st.kind, StatementKind::kDelete);
  EXPECT_EQ(st.delete_targets.size(), 2u);
  ASSERT_TRUE(ParseStatement("UPDATE t SET t.a = 'O''Neil', b = [p] WHERE (((t.id)=3));", &st).ok());
  EXPECT_EQ(st.assignments.size(), 2u);
  ASSERT_TRUE(ParseStatement("INSERT INTO t (a, b) VALUES (1, \"x\")", &st).ok());
  EXPECT_EQ(st.values.size(), 2u);

  // -2^2 is -(2^2); Not binds looser than comparisons.
  ASSERT_TRUE(ParseStatement("SELECT -2^2, Not a = b FROM t", &st).ok());
  EXPECT_EQ(st.query->select.items[0].expr->op, "-");
  EXPECT_EQ(st.query->select.items[1].expr->op, "NOT");
}

TEST(SqlParser, ErrorsCarryJetNumbers) {
  Statement st;
  EXPECT_EQ(ParseStatement("SELECT a FROM t WHERE (a = ", &st).jet_error(), 3075);
  EXPECT_EQ(ParseStatement("SELECT a FROM t WHERE a = 'open", &st).jet_error(), 3075);
  EXPECT_EQ(ParseStatement("SELEC a FROM t", &st).jet_error(), 3129);
  EXPECT_EQ(ParseStatement("SELECT a FROM INNER JOIN", &st).jet_error(), 3131);
  EXPECT_FALSE(ParseStatement("SELECT a FROM t extra words here", &st).ok());
}

TEST(SqlParser, ParameterDeclarationsKeepTheirNames) {
  std::vector<ParameterDecl> p;
  ASSERT_TRUE(ParseParameterList("What Credit Limit? (positive please) Currency, [Beginning Date] DateTime, "
                                 "Forms!Sales by Year Dialog!BeginningDate DateTime, [x] Text (50), v Value",
                                 &p)
                  .ok());
  ASSERT_EQ(p.size(), 5u);
  EXPECT_EQ(p[0].name, "What Credit Limit? (positive please)");
  EXPECT_EQ(p[0].type, ColumnType::kCurrency);
  EXPECT_EQ(p[1].name, "[Beginning Date]");
  EXPECT_EQ(p[2].type, ColumnType::kDateTime);
  EXPECT_EQ(p[3].size, 50);
  EXPECT_FALSE(p[4].typed);
  // One parameter, however its brackets are written.
  EXPECT_EQ(ParameterKey("[Forms]![Sales by Year Dialog]![BeginningDate]"),
            ParameterKey("Forms!Sales by Year Dialog!BeginningDate"));
}

TEST(SqlText, FixedReadingRulesAndLike) {
  // 2001-01-31 is day 36922.
  EXPECT_EQ(ParseDateText("1/31/2001").value(), 36922);
  EXPECT_EQ(ParseDateText("31-Jan-2001").value(), 36922);
  EXPECT_EQ(ParseDateText("2001-01-31").value(), 36922);
  EXPECT_EQ(ParseDateText("January 31, 2001").value(), 36922);
  EXPECT_DOUBLE_EQ(ParseDateText("1/31/2001 6:00 PM").value(), 36922.75);
  EXPECT_EQ(ParseDateText("1/1/95").value(), ParseDateText("1995-01-01").value());
  EXPECT_FALSE(ParseDateText("31/31/2001").has_value());
  EXPECT_FALSE(ParseNumberText("1,5").has_value());
  EXPECT_EQ(ParseNumberText(" 2.5 ").value(), 2.5);

  Value v;
  ASSERT_TRUE(ConvertParameterText("19.99995", ColumnType::kCurrency, &v).ok());
  EXPECT_EQ(v.as_currency().scaled, 200000);  // half to even on the exact digits
  ASSERT_TRUE(ConvertParameterText("01-Jan-2001", ColumnType::kDateTime, &v).ok());
  EXPECT_EQ(v.as_datetime().serial, 36892);
  EXPECT_EQ(ConvertParameterText("soon", ColumnType::kDateTime, &v).jet_error(), 3464);

  EXPECT_TRUE(LikeMatches("dd1", "d*#"));
  EXPECT_FALSE(LikeMatches("dda", "d*#"));
  EXPECT_TRUE(LikeMatches("Côte", "c?TE"));
  EXPECT_TRUE(LikeMatches("b", "[a-c]"));
  EXPECT_FALSE(LikeMatches("b", "[!a-c]"));
  EXPECT_TRUE(LikeMatches("a*b", "a[*]b"));
}

}  // namespace
}  // namespace jet::sql
