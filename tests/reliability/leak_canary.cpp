// Loses a block on purpose: run in a build with AddressSanitizer, it must
// make LeakSanitizer report a leak, which proves the leak checker is active.
int* volatile sink = nullptr;  // volatile, so the allocation is not optimised away

int main() {
  sink = new int[7];
  sink = nullptr;
  return 0;
}
