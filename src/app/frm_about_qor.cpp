#include "app/frm_about_qor.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QVBoxLayout>

#include "app/mglobals.h"
#include "app/system_information.h"
#include "platform/ui/dialogs.h"
#include "platform/ui/mouse_pointer.h"

frmAboutQor::frmAboutQor(QWidget* parent) : QDialog(parent) {
  setObjectName(QStringLiteral("frmAboutQor"));
  setWindowTitle(QStringLiteral("About ") + gApp->Title());
  auto* layout = new QVBoxLayout(this);
  for (const QString& line : {gApp->ProductName(), gApp->Version(), gApp->Description(), gApp->Copyright(),
                              gApp->Company()}) {
    auto* label = new QLabel(line, this);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addWidget(label);
  }
  auto* buttons = new QDialogButtonBox(this);
  cmdOK = buttons->addButton(QDialogButtonBox::Ok);
  cmdSysInfo = buttons->addButton(tr("&System Info..."), QDialogButtonBox::ActionRole);
  layout->addWidget(buttons);
  connect(cmdOK, &QPushButton::clicked, this, &QDialog::accept);
  connect(cmdSysInfo, &QPushButton::clicked, this, [this] { cmdSysInfo_Click(); });
}

void frmAboutQor::cmdSysInfo_Click() {
  std::optional<QString> info;
  {
    platform::WaitCursor wait;
    info = app::SystemInformation();
  }
  if (!info) {
    platform::dialogs().MsgBox(QStringLiteral("System Information Is Unavailable At This Time"), platform::vbOKOnly,
                               gApp->Title());
    return;
  }
  QMessageBox window(QMessageBox::NoIcon, tr("System Information"), *info, QMessageBox::Ok, this);
  window.setObjectName(QStringLiteral("SystemInformation"));
  window.exec();
}
