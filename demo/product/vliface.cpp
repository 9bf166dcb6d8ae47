// The demo product's program, the target of its shortcuts. The installer starts
// it once at the end, with /first-run, in the product's folder: it then leaves
// first-run.txt there, so one can see that it ran and where.
#include <cstdio>
#include <cstring>
#include <ctime>

int main(int argc, char** argv) {
  puts("Demo product 1.0: installed and running. Its service is vlserv.");
  if (argc > 1 && strcmp(argv[1], "/first-run") == 0) {
    FILE* file = fopen("first-run.txt", "w");
    if (file == nullptr) return 1;
    time_t now = time(nullptr);
    char stamp[32] = {};
    strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M:%S", gmtime(&now));
    fprintf(file, "Demo product 1.0 started by its installer at %s UTC.\n", stamp);
    fclose(file);
  }
  return 0;
}
