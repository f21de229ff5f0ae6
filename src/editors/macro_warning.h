// The warning the query destination editor gives when macros are added to
// a destination: what of them the office will not run, found by the macro
// check on the destination's template. The destination is saved all the
// same: the template may be fixed later, and a run refuses what cannot run.
#pragma once

#include <QString>
#include <QStringList>

namespace editors {

class QuerySettingsDialog;

// `before`: the macros the destination had when it was read, with
// `templateBefore` its template; a changed template counts every macro as added.
void WarnAboutAddedMacros(QuerySettingsDialog& form, const QString& templateBefore, const QStringList& before,
                          const QString& templatePath, const QStringList& macros);

}  // namespace editors
