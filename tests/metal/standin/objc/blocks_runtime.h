// GNUstep's Foundation asks for the blocks runtime by this name.
#include <Block.h>
