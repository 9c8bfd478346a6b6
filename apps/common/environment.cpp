#include "apps/common/environment.h"

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include <langinfo.h>

namespace ov3d::apps {

void makeLocaleUtf8()
{
    std::setlocale(LC_ALL, "");
    if (std::strcmp(nl_langinfo(CODESET), "UTF-8") == 0)
        return;
    for (const char* name : {"C.UTF-8", "C.utf8", "en_US.UTF-8"}) {
        if (std::setlocale(LC_ALL, name)) {
            // The application object reads the environment again, and so do child processes.
            ::setenv("LC_ALL", name, 1);
            return;
        }
    }
}

} // namespace ov3d::apps
