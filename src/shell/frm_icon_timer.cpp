#include "shell/frm_icon_timer.h"

namespace vellix {

FrmIconTimer::FrmIconTimer(UiHost& host) : Form(host, "frmIconTimer") {}

}  // namespace vellix
