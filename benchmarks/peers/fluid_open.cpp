// Opens a SoundFont bank with libfluidsynth and leaves its samples in the file.
#include <cstdio>
#include <fluidsynth.h>

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  fluid_settings_t* settings = new_fluid_settings();
  fluid_settings_setint(settings, "synth.dynamic-sample-loading", 1);
  fluid_synth_t* synth = new_fluid_synth(settings);
  const int bank = fluid_synth_sfload(synth, argv[1], 1);
  std::printf("bank %d\n", bank);
  delete_fluid_synth(synth);
  delete_fluid_settings(settings);
  return bank < 0;
}
