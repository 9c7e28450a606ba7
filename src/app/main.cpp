#include <cstdio>
#include <cstring>

// The window of the control panel comes with the Qt view; until then the
// program says so and ends.
int main(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    if (std::strcmp(argv[i], "--version") == 0) {
      std::printf("vellix-control %s\n", VELLIX_VERSION);
      return 0;
    }
  }
  std::printf("Vellix Control %s: the control panel's window comes in a later step.\n",
              VELLIX_VERSION);
  return 0;
}
