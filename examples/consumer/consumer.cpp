// Converts two stereo frames of 16-bit audio to float, and describes what they became.
#include <cstdint>
#include <cstdio>
#include <qv/qv.h>

int main() {
  const int16_t recorded[] = {16384, -16384, -32768, 32767};
  float samples[4];
  const QVAUDIO_COPYFUNC copy = QvAudio_GetCopyFunction2(QVSAMPLE_FLOAT32, QVSAMPLE_PCM16);
  if (!copy) return 1;
  copy(samples, recorded, 4, 1.0f);

  WAVEFORMATEX format;
  QvAudio_InitWfx(&format, 44100, QVSAMPLE_FLOAT32, 2);
  WCHAR text[64];
  QvAudio_GetAttribsText(&format, text, 64);
  char printable[64];
  WideCharToMultiByte(CP_UTF8, 0, text, -1, printable, 64, nullptr, nullptr);
  std::printf("%s\n%g %g\n%g %g\n", printable, samples[0], samples[1], samples[2], samples[3]);
}
