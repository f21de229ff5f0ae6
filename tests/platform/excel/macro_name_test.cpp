#include <gtest/gtest.h>

#include "platform/excel/macro_name.h"

using excel::ParseMacroName;

TEST(MacroName, TakesTheFormsApplicationRunTakes) {
  auto plain = ParseMacroName(QStringLiteral("Macro1"));
  ASSERT_TRUE(plain);
  EXPECT_EQ(plain->procedure, "Macro1");
  EXPECT_TRUE(plain->module.isEmpty());
  EXPECT_TRUE(plain->book.isEmpty());

  auto qualified = ParseMacroName(QStringLiteral("Module2.Macro2"));
  ASSERT_TRUE(qualified);
  EXPECT_EQ(qualified->module, "Module2");
  EXPECT_EQ(qualified->procedure, "Macro2");

  auto quoted = ParseMacroName(QStringLiteral("'My Book.xls'!Module1.Totals"));
  ASSERT_TRUE(quoted);
  EXPECT_EQ(quoted->book, "My Book.xls");
  EXPECT_EQ(quoted->module, "Module1");
  EXPECT_EQ(quoted->procedure, "Totals");

  auto bare_book = ParseMacroName(QStringLiteral(" Book.xls!Format "));
  ASSERT_TRUE(bare_book);
  EXPECT_EQ(bare_book->book, "Book.xls");
  EXPECT_EQ(bare_book->procedure, "Format");
}

TEST(MacroName, RefusesWhatCannotNameAMacro) {
  for (const char* text : {"", "   ", "a.b.c", "'Book.xls'!", "!Macro", "Sheet 1", "1Macro", "Mod.", "Macro(1)"})
    EXPECT_FALSE(ParseMacroName(QString::fromLatin1(text))) << text;
}
