#include "foundation/out_of_memory.h"

#include "foundation/logging.h"

namespace VestaHbbTV {

void reportOutOfMemory() noexcept
{
    log(ERR, "vesta_hbbtv", "Out of memory.");
}

}  // namespace VestaHbbTV
