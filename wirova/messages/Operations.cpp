// The operations of all wire classes.
#include "wirova/messages/AllMessages.h"

WIROVA_TOP_LEVEL_CLASSES(WIROVA_MESSAGE_OPERATIONS)
WIROVA_RECORD_CLASSES(WIROVA_MESSAGE_OPERATIONS)
