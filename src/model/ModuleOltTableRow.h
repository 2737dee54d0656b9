#pragma once

#include "model/Container.h"

namespace ponmgr {

/// The optical-module readings of one PON port of the card; "-" is a reading not taken yet. The two
/// index keys stay empty: the row's place in the card's list says which port it is.
class ModuleOltTableRow : public Container {
public:
    ModuleOltTableRow();

    /// Sets the four readings to "-".
    void initDefaultValues();
};

}  // namespace ponmgr
