/// The host's supplier of drawing for dialogs. The library keeps a pointer to it and hands it back; it calls
/// nothing of it.
#ifndef ZVKUI_SKETCHBOT_SUPPLIER_H
#define ZVKUI_SKETCHBOT_SUPPLIER_H

#include "zvkcore/config/Export.h"

namespace zvkui::sketchbot {

class ZVKCORE_EXPORT SupplierInterface {
  public:
    virtual ~SupplierInterface();
};

}  // namespace zvkui::sketchbot

#endif
