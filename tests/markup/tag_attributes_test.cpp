#include "markup/tag_attributes.h"
