// The login name of the user the process runs as.
#pragma once

#include <QByteArray>
#include <QString>

namespace platform {

// The name as the family has always read it: into a buffer of 25
// characters, so a name of 25 characters or more gives "".
QString LoginName();

// The buffer rule alone, for a name already looked up.
QString LoginNameFittingBuffer(const QByteArray& name);

}  // namespace platform
