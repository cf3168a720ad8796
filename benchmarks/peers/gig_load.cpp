// Loads every sample of a SoundFont bank into memory with libgig, as 16-bit integers.
#include <SF.h>
#include <cstdio>

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  RIFF::File riff(argv[1]);
  sf2::File bank(&riff);
  unsigned long long bytes = 0;
  for (int i = 0; i < bank.GetSampleCount(); ++i) bytes += bank.GetSample(i)->LoadSampleData().Size;
  std::printf("%d samples, %llu bytes\n", bank.GetSampleCount(), bytes);
  return 0;
}
