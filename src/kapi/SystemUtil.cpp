// Process and system helpers; stateless.
#include "kapi/SystemUtil.h"

#include <cstdlib>

namespace Kapi {
namespace SystemUtil {

std::string devicePath(const char* path)
{
    const char* root = getenv("KELO_ROOT");
    if (root == nullptr || root[0] == '\0')
        return path;
    return std::string(root) + path;
}

} // namespace SystemUtil
} // namespace Kapi
