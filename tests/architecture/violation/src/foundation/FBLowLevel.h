#pragma once

#include "sending/FXFaxConnection.h"
