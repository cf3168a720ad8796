// Converts every WAV file of a folder to 24 bits with libsndfile, all in one process.
#include <cstdio>
#include <filesystem>
#include <sndfile.h>
#include <vector>

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  std::vector<int> block(32768);
  for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
    SF_INFO format = {};
    SNDFILE* in = sf_open(entry.path().c_str(), SFM_READ, &format);
    format.format = SF_FORMAT_WAV | SF_FORMAT_PCM_24;
    SNDFILE* out =
        sf_open((std::filesystem::path(argv[2]) / entry.path().filename()).c_str(), SFM_WRITE, &format);
    if (in == nullptr || out == nullptr) return 1;
    while (const sf_count_t count = sf_read_int(in, block.data(), static_cast<sf_count_t>(block.size())))
      sf_write_int(out, block.data(), count);
    sf_close(in);
    sf_close(out);
  }
  return 0;
}
