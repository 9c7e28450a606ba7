#pragma once

// Every control kind of the form model, for forms and views.
#include "foundation/buttons.h"
#include "foundation/combo_box.h"
#include "foundation/control.h"
#include "foundation/date_picker.h"
#include "foundation/flex_grid.h"
#include "foundation/form.h"
#include "foundation/list_box.h"
#include "foundation/log_box.h"
#include "foundation/menu.h"
#include "foundation/static_controls.h"
#include "foundation/tab_strip.h"
#include "foundation/text_box.h"
#include "foundation/timer.h"
#include "foundation/tree_view.h"
#include "foundation/up_down.h"
