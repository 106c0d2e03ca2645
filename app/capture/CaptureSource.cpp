#include "app/capture/CaptureSource.h"
