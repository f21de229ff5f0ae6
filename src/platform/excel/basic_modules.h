// The Basic modules of a loaded workbook's document, walked one by one: the
// rewriting of macros, the macro check and the VBA project facade all read
// (and some change) them the same way.
#pragma once

#include <QString>
#include <functional>

#include <com/sun/star/container/XNameContainer.hpp>

namespace excel {

struct WorkbookState;

struct BasicModule {
  QString library;
  QString name;
  QString source;
  // The library's modules, where this one may be replaced.
  css::uno::Reference<css::container::XNameContainer> modules;
};

// Calls `visit` for every module of every Basic library of the document,
// loading each library first; nothing when the document has no Basic.
void ForEachBasicModule(const WorkbookState& book, const std::function<void(const BasicModule&)>& visit);

}  // namespace excel
