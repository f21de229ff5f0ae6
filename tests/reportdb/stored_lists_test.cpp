#include "reportdb/stored_lists.h"

#include <gtest/gtest.h>

#include "platform/errors/app_error.h"
#include "reportdb/sql_text.h"

using reportdb::fnMakeString;
using reportdb::ReadExcelMacros;
using reportdb::ReadQueryParameters;

TEST(StoredLists, WritingJoinsItemsInGridOrder) {
  EXPECT_EQ(fnMakeString({QStringLiteral("01-Jan-2001"), QStringLiteral("31-Dec-2001")}),
            QStringLiteral("01-Jan-2001/31-Dec-2001"));
  EXPECT_EQ(fnMakeString({QStringLiteral("FormatReport")}), QStringLiteral("FormatReport"));
  EXPECT_EQ(fnMakeString({QString()}), QString());
  EXPECT_EQ(fnMakeString({QString(), QString()}), QStringLiteral("/"));
  EXPECT_THROW(fnMakeString({}), platform::AppError);
}

TEST(StoredLists, ParametersAreSplitByPositionAndNotTrimmed) {
  EXPECT_EQ(ReadQueryParameters(QVariant()), std::nullopt);
  EXPECT_EQ(ReadQueryParameters(QVariant(QStringLiteral(" 2001 / 5"))),
            (QStringList{QStringLiteral(" 2001 "), QStringLiteral(" 5")}));
  EXPECT_EQ(ReadQueryParameters(QVariant(QStringLiteral("a//b"))),
            (QStringList{QStringLiteral("a"), QString(), QStringLiteral("b")}));
  // One empty value is stored as "", which reads back as no values at all:
  // the run then refuses the query for a wrong count.
  const QStringList oneEmptyValue{QString()};
  const auto readBack = ReadQueryParameters(QVariant(fnMakeString(oneEmptyValue)));
  ASSERT_TRUE(readBack.has_value());
  EXPECT_TRUE(readBack->isEmpty());
  // A "/" inside a value makes two values.
  EXPECT_EQ(ReadQueryParameters(QVariant(fnMakeString({QStringLiteral("1/2")})))->size(), 2);
}

TEST(StoredLists, MacrosAreTrimmedAndNullMeansNone) {
  EXPECT_TRUE(ReadExcelMacros(QVariant()).isEmpty());
  EXPECT_TRUE(ReadExcelMacros(QVariant(QString(""))).isEmpty());
  EXPECT_EQ(ReadExcelMacros(QVariant(QStringLiteral(" Macro1 / Macro2"))),
            (QStringList{QStringLiteral("Macro1"), QStringLiteral("Macro2")}));
  EXPECT_EQ(ReadExcelMacros(QVariant(QStringLiteral("FormatReport/AddTotals"))),
            (QStringList{QStringLiteral("FormatReport"), QStringLiteral("AddTotals")}));
}

TEST(StoredLists, AnApostropheSurvivesTheLiteral) {
  const QString stored = fnMakeString({QStringLiteral("O'Brien"), QStringLiteral("2")});
  const QString literal = reportdb::QuoteSqlText(stored);
  EXPECT_EQ(literal, QStringLiteral("'O''Brien/2'"));
  // Jet reads the literal back by undoubling; the list then splits as stored.
  const QString asJetReadsIt = literal.mid(1, literal.size() - 2).replace(QStringLiteral("''"), QStringLiteral("'"));
  EXPECT_EQ(ReadQueryParameters(QVariant(asJetReadsIt)), (QStringList{QStringLiteral("O'Brien"), QStringLiteral("2")}));
}
