// Reading a VBA module's source as code: what rules that rewrite macros
// search, and where a statement ends.
#pragma once

#include <QRegularExpression>
#include <QString>

namespace excel {

// The source with every string literal's contents and every comment turned
// into spaces: a search in it finds only code, at the source's positions.
QString CodeOnly(const QString& source);

// Where the statement that starts at `from` ends in CodeOnly text: at the
// next ':' that is not a named argument's ":=", at the Else of a one-line If,
// or at the end of its line, lines joined by a trailing " _" counting as one.
qsizetype StatementEnd(const QString& code, qsizetype from);

// `text` in place of source[from, to), with as many line breaks after it as
// the replaced part held, so every later line keeps its number.
QString ReplaceKeepingLines(const QString& source, qsizetype from, qsizetype to, const QString& text);

// The first line of a Sub, Function or Property: captures 1 (Sub, Function
// or Property) and 2 (its name); case-insensitive, one match per line.
const QRegularExpression& ProcedureStart();
// The source has a Sub, Function or Property of that name.
bool DefinesProcedure(const QString& source, const QString& procedure);

}  // namespace excel
