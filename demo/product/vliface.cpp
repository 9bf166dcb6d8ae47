// The demo product's program, the target of its shortcuts.
#include <cstdio>

int main() {
  puts("Demo product 1.0: installed and running. Its service is vlserv.");
  return 0;
}
