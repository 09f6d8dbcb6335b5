// Loads a module that stands on the libraries into a program that is not linked with them, and unloads it again.
#include <cstdio>
#include <dlfcn.h>

namespace {

int Fail(const char* what) {
    const char* reason = dlerror();
    std::fprintf(stderr, "%s: %s\n", what, reason == nullptr ? "" : reason);
    return 1;
}

}  // namespace

// Arguments: the module, and the names of the libraries that it must bring in and that must be gone afterwards.
int main(int argc, char** argv) {
    if (argc < 3) return Fail("usage: load_test MODULE LIBRARY...");
    for (int round = 0; round < 3; ++round) {
        void* module = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
        if (module == nullptr) return Fail("cannot be loaded");
        void* symbol = dlsym(module, "NmrFaults");
        if (symbol == nullptr) return Fail("has no NmrFaults");
        const int faults = reinterpret_cast<int (*)()>(symbol)();
        if (faults != 0) return Fail("constants were not ready");
        if (dlclose(module) != 0) return Fail("cannot be unloaded");
        for (int i = 2; i < argc; ++i) {
            if (dlopen(argv[i], RTLD_NOW | RTLD_NOLOAD) != nullptr) return Fail(argv[i]);
        }
    }
    std::puts("loaded, used while loading, and unloaded, three times");
    return 0;
}
