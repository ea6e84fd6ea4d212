#include "foundation/FBLowLevel.h"

#include <QWidget>
