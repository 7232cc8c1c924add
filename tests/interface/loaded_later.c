/* A program that loads the library while it runs, as an interpreter does. */
#include <dlfcn.h>
#include <stdint.h>
#include <stdio.h>

int main(int count, char** arguments) {
    void* const library = count > 1 ? dlopen(arguments[1], RTLD_NOW) : NULL;
    void* const name = library != NULL ? dlsym(library, "ORVEX_THREAD_GetCurID") : NULL;
    if (name == NULL) {
        puts(dlerror());
        return 1;
    }
    return ((uint32_t(*)(void))(uintptr_t)name)() != 0 ? 0 : 1;
}
