// Prints the path of a resource of "org.tizen.menu".

#include <tv_services.h>

#include <cstdio>
#include <cstdlib>

int main(int, char** argv) {
    char* path = getResourcePath("org.tizen.menu", argv[1]);
    std::printf("%s", path);
    std::free(path);
    return 0;
}
