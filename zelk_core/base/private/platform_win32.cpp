#include <zelk_core/base/api.h>
