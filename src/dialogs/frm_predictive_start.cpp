#include "dialogs/frm_predictive_start.h"

namespace vellix {

FrmPredictiveStart::FrmPredictiveStart(Context& ctx, UiHost& host)
    : Form(host, "frmPredictiveStart"),
      lblMessage(*this, "lblMessage"),
      cmdRunLater(*this, "cmdRunLater"),
      cmdRunNow(*this, "cmdRunNow"),
      ctx_(ctx) {
  cmdRunNow.Click = [this] { cmdRunNow_Click(); };
  cmdRunLater.Click = [this] { cmdRunLater_Click(); };
}

bool FrmPredictiveStart::Later() const {
  return later_;
}
void FrmPredictiveStart::Later(bool value) {
  later_ = value;
}

void FrmPredictiveStart::Form_Load() {
  later_ = true;
}

void FrmPredictiveStart::cmdRunNow_Click() {
  later_ = false;
  Unload();
}

void FrmPredictiveStart::cmdRunLater_Click() {
  later_ = true;
  Unload();
}

}  // namespace vellix
