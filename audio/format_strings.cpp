// One row per text, in the order of FormatString. A language that writes a text as English does leaves it out.
#include "audio/format_strings.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace qv::audio {
namespace {

// Names the languages, so that a row shows which text is whose.
struct Translations {
  const WCHAR* english;
  const WCHAR* german = nullptr;
  const WCHAR* french = nullptr;
  const WCHAR* spanish = nullptr;
  const WCHAR* italian = nullptr;
  const WCHAR* portuguese = nullptr;
  const WCHAR* dutch = nullptr;
  const WCHAR* swedish = nullptr;
  const WCHAR* danish = nullptr;
  const WCHAR* norwegian = nullptr;
  const WCHAR* finnish = nullptr;
  const WCHAR* polish = nullptr;
  const WCHAR* czech = nullptr;
  const WCHAR* russian = nullptr;
  const WCHAR* turkish = nullptr;
  const WCHAR* japanese = nullptr;
  const WCHAR* korean = nullptr;
  const WCHAR* chinese = nullptr;
};

constexpr QVSTRINGRECORD record(const Translations& of) {
  return {{of.english, of.german, of.french, of.spanish, of.italian, of.portuguese, of.dutch, of.swedish, of.danish,
           of.norwegian, of.finnish, of.polish, of.czech, of.russian, of.turkish, of.japanese, of.korean, of.chinese}};
}

// clang-format off
constexpr std::array<QVSTRINGRECORD, static_cast<size_t>(FormatString::kCount)> kRecords = {
    record({.english = QV_TEXT("PCM")}),
    record({.english = QV_TEXT("PCM (float)"),
            .german = QV_TEXT("PCM (Gleitkomma)"),
            .french = QV_TEXT("PCM (virgule flottante)"),
            .spanish = QV_TEXT("PCM (coma flotante)"),
            .italian = QV_TEXT("PCM (virgola mobile)"),
            .portuguese = QV_TEXT("PCM (ponto flutuante)"),
            .dutch = QV_TEXT("PCM (drijvende komma)"),
            .swedish = QV_TEXT("PCM (flyttal)"),
            .danish = QV_TEXT("PCM (flydende komma)"),
            .norwegian = QV_TEXT("PCM (flyttall)"),
            .finnish = QV_TEXT("PCM (liukuluku)"),
            .polish = QV_TEXT("PCM (zmiennoprzecinkowy)"),
            .czech = QV_TEXT("PCM (plovoucí čárka)"),
            .russian = QV_TEXT("PCM (с плавающей запятой)"),
            .turkish = QV_TEXT("PCM (kayan nokta)"),
            .japanese = QV_TEXT("PCM (浮動小数点)"),
            .korean = QV_TEXT("PCM (부동 소수점)"),
            .chinese = QV_TEXT("PCM (浮点)")}),
    record({.english = QV_TEXT("PCM (unpacked)"),
            .german = QV_TEXT("PCM (ungepackt)"),
            .french = QV_TEXT("PCM (non compacté)"),
            .spanish = QV_TEXT("PCM (desempaquetado)"),
            .italian = QV_TEXT("PCM (non compattato)"),
            .portuguese = QV_TEXT("PCM (não compactado)"),
            .dutch = QV_TEXT("PCM (uitgepakt)"),
            .swedish = QV_TEXT("PCM (opackad)"),
            .danish = QV_TEXT("PCM (upakket)"),
            .norwegian = QV_TEXT("PCM (upakket)"),
            .finnish = QV_TEXT("PCM (pakkaamaton)"),
            .polish = QV_TEXT("PCM (niespakowany)"),
            .czech = QV_TEXT("PCM (nesbalený)"),
            .russian = QV_TEXT("PCM (неупакованный)"),
            .turkish = QV_TEXT("PCM (paketlenmemiş)"),
            .japanese = QV_TEXT("PCM (非パック)"),
            .korean = QV_TEXT("PCM (언팩)"),
            .chinese = QV_TEXT("PCM (未打包)")}),
    record({.english = QV_TEXT("PCM (signed)"),
            .german = QV_TEXT("PCM (mit Vorzeichen)"),
            .french = QV_TEXT("PCM (signé)"),
            .spanish = QV_TEXT("PCM (con signo)"),
            .italian = QV_TEXT("PCM (con segno)"),
            .portuguese = QV_TEXT("PCM (com sinal)"),
            .dutch = QV_TEXT("PCM (met teken)"),
            .swedish = QV_TEXT("PCM (med tecken)"),
            .danish = QV_TEXT("PCM (med fortegn)"),
            .norwegian = QV_TEXT("PCM (med fortegn)"),
            .finnish = QV_TEXT("PCM (etumerkillinen)"),
            .polish = QV_TEXT("PCM (ze znakiem)"),
            .czech = QV_TEXT("PCM (se znaménkem)"),
            .russian = QV_TEXT("PCM (со знаком)"),
            .turkish = QV_TEXT("PCM (işaretli)"),
            .japanese = QV_TEXT("PCM (符号付き)"),
            .korean = QV_TEXT("PCM (부호 있음)"),
            .chinese = QV_TEXT("PCM (有符号)")}),
    record({.english = QV_TEXT("PCM (big endian)"),
            .german = QV_TEXT("PCM (Big-Endian)"),
            .french = QV_TEXT("PCM (gros-boutiste)"),
            .spanish = QV_TEXT("PCM (big-endian)"),
            .italian = QV_TEXT("PCM (big-endian)"),
            .portuguese = QV_TEXT("PCM (big-endian)"),
            .dutch = QV_TEXT("PCM (big-endian)"),
            .swedish = QV_TEXT("PCM (big-endian)"),
            .danish = QV_TEXT("PCM (big-endian)"),
            .norwegian = QV_TEXT("PCM (big-endian)"),
            .finnish = QV_TEXT("PCM (big-endian)"),
            .polish = QV_TEXT("PCM (big-endian)"),
            .czech = QV_TEXT("PCM (big-endian)"),
            .russian = QV_TEXT("PCM (обратный порядок байтов)"),
            .turkish = QV_TEXT("PCM (büyük endian)"),
            .japanese = QV_TEXT("PCM (ビッグエンディアン)"),
            .korean = QV_TEXT("PCM (빅 엔디언)"),
            .chinese = QV_TEXT("PCM (大端)")}),
    record({.english = QV_TEXT("Unknown"),
            .german = QV_TEXT("Unbekannt"),
            .french = QV_TEXT("Inconnu"),
            .spanish = QV_TEXT("Desconocido"),
            .italian = QV_TEXT("Sconosciuto"),
            .portuguese = QV_TEXT("Desconhecido"),
            .dutch = QV_TEXT("Onbekend"),
            .swedish = QV_TEXT("Okänt"),
            .danish = QV_TEXT("Ukendt"),
            .norwegian = QV_TEXT("Ukjent"),
            .finnish = QV_TEXT("Tuntematon"),
            .polish = QV_TEXT("Nieznany"),
            .czech = QV_TEXT("Neznámý"),
            .russian = QV_TEXT("Неизвестно"),
            .turkish = QV_TEXT("Bilinmiyor"),
            .japanese = QV_TEXT("不明"),
            .korean = QV_TEXT("알 수 없음"),
            .chinese = QV_TEXT("未知")}),
    record({.english = QV_TEXT("Mono"),
            .russian = QV_TEXT("Моно"),
            .japanese = QV_TEXT("モノラル"),
            .korean = QV_TEXT("모노"),
            .chinese = QV_TEXT("单声道")}),
    record({.english = QV_TEXT("Stereo"),
            .french = QV_TEXT("Stéréo"),
            .spanish = QV_TEXT("Estéreo"),
            .portuguese = QV_TEXT("Estéreo"),
            .russian = QV_TEXT("Стерео"),
            .japanese = QV_TEXT("ステレオ"),
            .korean = QV_TEXT("스테레오"),
            .chinese = QV_TEXT("立体声")}),
    record({.english = QV_TEXT("5.1")}),
    record({.english = QV_TEXT("7.1")}),
    record({.english = QV_TEXT("%d Channel"),
            .german = QV_TEXT("%d Kanäle"),
            .french = QV_TEXT("%d canaux"),
            .spanish = QV_TEXT("%d canales"),
            .italian = QV_TEXT("%d canali"),
            .portuguese = QV_TEXT("%d canais"),
            .dutch = QV_TEXT("%d kanalen"),
            .swedish = QV_TEXT("%d kanaler"),
            .danish = QV_TEXT("%d kanaler"),
            .norwegian = QV_TEXT("%d kanaler"),
            .finnish = QV_TEXT("%d kanavaa"),
            .polish = QV_TEXT("Kanały: %d"),
            .czech = QV_TEXT("Kanály: %d"),
            .russian = QV_TEXT("Каналов: %d"),
            .turkish = QV_TEXT("%d kanal"),
            .japanese = QV_TEXT("%d チャンネル"),
            .korean = QV_TEXT("%d채널"),
            .chinese = QV_TEXT("%d 声道")}),
    record({.english = QV_TEXT("$d Hz$, %d Bit$, %s"),
            .french = QV_TEXT("$d Hz$, %d bits$, %s"),
            .spanish = QV_TEXT("$d Hz$, %d bits$, %s"),
            .italian = QV_TEXT("$d Hz$, %d bit$, %s"),
            .portuguese = QV_TEXT("$d Hz$, %d bits$, %s"),
            .dutch = QV_TEXT("$d Hz$, %d bit$, %s"),
            .swedish = QV_TEXT("$d Hz$, %d bitar$, %s"),
            .danish = QV_TEXT("$d Hz$, %d bit$, %s"),
            .norwegian = QV_TEXT("$d Hz$, %d bit$, %s"),
            .finnish = QV_TEXT("$d Hz$, %d bittiä$, %s"),
            .polish = QV_TEXT("$d Hz$, %d bit$, %s"),
            .czech = QV_TEXT("$d Hz$, %d bit$, %s"),
            .russian = QV_TEXT("$d Гц$, %d бит$, %s"),
            .turkish = QV_TEXT("$d Hz$, %d bit$, %s"),
            .japanese = QV_TEXT("$d Hz$, %d ビット$, %s"),
            .korean = QV_TEXT("$d Hz$, %d비트$, %s"),
            .chinese = QV_TEXT("$d Hz$, %d 位$, %s")}),
    record({.english = QV_TEXT("$d Hz$, %d Bit (IEEE Float)$, %s"),
            .german = QV_TEXT("$d Hz$, %d Bit (IEEE-Gleitkomma)$, %s"),
            .french = QV_TEXT("$d Hz$, %d bits (virgule flottante IEEE)$, %s"),
            .spanish = QV_TEXT("$d Hz$, %d bits (coma flotante IEEE)$, %s"),
            .italian = QV_TEXT("$d Hz$, %d bit (virgola mobile IEEE)$, %s"),
            .portuguese = QV_TEXT("$d Hz$, %d bits (ponto flutuante IEEE)$, %s"),
            .dutch = QV_TEXT("$d Hz$, %d bit (IEEE drijvende komma)$, %s"),
            .swedish = QV_TEXT("$d Hz$, %d bitar (IEEE-flyttal)$, %s"),
            .danish = QV_TEXT("$d Hz$, %d bit (IEEE flydende komma)$, %s"),
            .norwegian = QV_TEXT("$d Hz$, %d bit (IEEE-flyttall)$, %s"),
            .finnish = QV_TEXT("$d Hz$, %d bittiä (IEEE-liukuluku)$, %s"),
            .polish = QV_TEXT("$d Hz$, %d bit (zmiennoprzecinkowe IEEE)$, %s"),
            .czech = QV_TEXT("$d Hz$, %d bit (plovoucí čárka IEEE)$, %s"),
            .russian = QV_TEXT("$d Гц$, %d бит (с плавающей запятой IEEE)$, %s"),
            .turkish = QV_TEXT("$d Hz$, %d bit (IEEE kayan nokta)$, %s"),
            .japanese = QV_TEXT("$d Hz$, %d ビット (IEEE 浮動小数点)$, %s"),
            .korean = QV_TEXT("$d Hz$, %d비트 (IEEE 부동 소수점)$, %s"),
            .chinese = QV_TEXT("$d Hz$, %d 位 (IEEE 浮点)$, %s")}),
    record({.english = QV_TEXT("%d Bit"),
            .french = QV_TEXT("%d bits"),
            .spanish = QV_TEXT("%d bits"),
            .italian = QV_TEXT("%d bit"),
            .portuguese = QV_TEXT("%d bits"),
            .dutch = QV_TEXT("%d bit"),
            .swedish = QV_TEXT("%d bitar"),
            .danish = QV_TEXT("%d bit"),
            .norwegian = QV_TEXT("%d bit"),
            .finnish = QV_TEXT("%d bittiä"),
            .polish = QV_TEXT("%d bit"),
            .czech = QV_TEXT("%d bit"),
            .russian = QV_TEXT("%d бит"),
            .turkish = QV_TEXT("%d bit"),
            .japanese = QV_TEXT("%d ビット"),
            .korean = QV_TEXT("%d비트"),
            .chinese = QV_TEXT("%d 位")}),
    record({.english = QV_TEXT("%d Bit (IEEE Float)"),
            .german = QV_TEXT("%d Bit (IEEE-Gleitkomma)"),
            .french = QV_TEXT("%d bits (virgule flottante IEEE)"),
            .spanish = QV_TEXT("%d bits (coma flotante IEEE)"),
            .italian = QV_TEXT("%d bit (virgola mobile IEEE)"),
            .portuguese = QV_TEXT("%d bits (ponto flutuante IEEE)"),
            .dutch = QV_TEXT("%d bit (IEEE drijvende komma)"),
            .swedish = QV_TEXT("%d bitar (IEEE-flyttal)"),
            .danish = QV_TEXT("%d bit (IEEE flydende komma)"),
            .norwegian = QV_TEXT("%d bit (IEEE-flyttall)"),
            .finnish = QV_TEXT("%d bittiä (IEEE-liukuluku)"),
            .polish = QV_TEXT("%d bit (zmiennoprzecinkowe IEEE)"),
            .czech = QV_TEXT("%d bit (plovoucí čárka IEEE)"),
            .russian = QV_TEXT("%d бит (с плавающей запятой IEEE)"),
            .turkish = QV_TEXT("%d bit (IEEE kayan nokta)"),
            .japanese = QV_TEXT("%d ビット (IEEE 浮動小数点)"),
            .korean = QV_TEXT("%d비트 (IEEE 부동 소수점)"),
            .chinese = QV_TEXT("%d 位 (IEEE 浮点)")}),
    record({.english = QV_TEXT("24 Bit (Unpacked)"),
            .german = QV_TEXT("24 Bit (ungepackt)"),
            .french = QV_TEXT("24 bits (non compacté)"),
            .spanish = QV_TEXT("24 bits (desempaquetado)"),
            .italian = QV_TEXT("24 bit (non compattato)"),
            .portuguese = QV_TEXT("24 bits (não compactado)"),
            .dutch = QV_TEXT("24 bit (uitgepakt)"),
            .swedish = QV_TEXT("24 bitar (opackad)"),
            .danish = QV_TEXT("24 bit (upakket)"),
            .norwegian = QV_TEXT("24 bit (upakket)"),
            .finnish = QV_TEXT("24 bittiä (pakkaamaton)"),
            .polish = QV_TEXT("24 bit (niespakowane)"),
            .czech = QV_TEXT("24 bit (nesbalené)"),
            .russian = QV_TEXT("24 бит (неупакованный)"),
            .turkish = QV_TEXT("24 bit (paketlenmemiş)"),
            .japanese = QV_TEXT("24 ビット (非パック)"),
            .korean = QV_TEXT("24비트 (언팩)"),
            .chinese = QV_TEXT("24 位 (未打包)")}),
    record({.english = QV_TEXT("8 Bit (Signed)"),
            .german = QV_TEXT("8 Bit (mit Vorzeichen)"),
            .french = QV_TEXT("8 bits (signé)"),
            .spanish = QV_TEXT("8 bits (con signo)"),
            .italian = QV_TEXT("8 bit (con segno)"),
            .portuguese = QV_TEXT("8 bits (com sinal)"),
            .dutch = QV_TEXT("8 bit (met teken)"),
            .swedish = QV_TEXT("8 bitar (med tecken)"),
            .danish = QV_TEXT("8 bit (med fortegn)"),
            .norwegian = QV_TEXT("8 bit (med fortegn)"),
            .finnish = QV_TEXT("8 bittiä (etumerkillinen)"),
            .polish = QV_TEXT("8 bit (ze znakiem)"),
            .czech = QV_TEXT("8 bit (se znaménkem)"),
            .russian = QV_TEXT("8 бит (со знаком)"),
            .turkish = QV_TEXT("8 bit (işaretli)"),
            .japanese = QV_TEXT("8 ビット (符号付き)"),
            .korean = QV_TEXT("8비트 (부호 있음)"),
            .chinese = QV_TEXT("8 位 (有符号)")}),
    record({.english = QV_TEXT("%d Bit (MAC)"),
            .french = QV_TEXT("%d bits (MAC)"),
            .spanish = QV_TEXT("%d bits (MAC)"),
            .italian = QV_TEXT("%d bit (MAC)"),
            .portuguese = QV_TEXT("%d bits (MAC)"),
            .dutch = QV_TEXT("%d bit (MAC)"),
            .swedish = QV_TEXT("%d bitar (MAC)"),
            .danish = QV_TEXT("%d bit (MAC)"),
            .norwegian = QV_TEXT("%d bit (MAC)"),
            .finnish = QV_TEXT("%d bittiä (MAC)"),
            .polish = QV_TEXT("%d bit (MAC)"),
            .czech = QV_TEXT("%d bit (MAC)"),
            .russian = QV_TEXT("%d бит (MAC)"),
            .turkish = QV_TEXT("%d bit (MAC)"),
            .japanese = QV_TEXT("%d ビット (MAC)"),
            .korean = QV_TEXT("%d비트 (MAC)"),
            .chinese = QV_TEXT("%d 位 (MAC)")}),
    record({.english = QV_TEXT("%d Bit (RA)"),
            .french = QV_TEXT("%d bits (RA)"),
            .spanish = QV_TEXT("%d bits (RA)"),
            .italian = QV_TEXT("%d bit (RA)"),
            .portuguese = QV_TEXT("%d bits (RA)"),
            .dutch = QV_TEXT("%d bit (RA)"),
            .swedish = QV_TEXT("%d bitar (RA)"),
            .danish = QV_TEXT("%d bit (RA)"),
            .norwegian = QV_TEXT("%d bit (RA)"),
            .finnish = QV_TEXT("%d bittiä (RA)"),
            .polish = QV_TEXT("%d bit (RA)"),
            .czech = QV_TEXT("%d bit (RA)"),
            .russian = QV_TEXT("%d бит (RA)"),
            .turkish = QV_TEXT("%d bit (RA)"),
            .japanese = QV_TEXT("%d ビット (RA)"),
            .korean = QV_TEXT("%d비트 (RA)"),
            .chinese = QV_TEXT("%d 位 (RA)")}),
};
// clang-format on

// Where the next argument of a text is taken: "%d", "%s" or "$d". "$," takes none.
constexpr const WCHAR* next_argument(const WCHAR* text) {
  while (*text != 0 && *text != QV_TEXT('%') && !(*text == QV_TEXT('$') && text[1] == QV_TEXT('d')))
    ++text;
  return text;
}

constexpr bool take_the_same_arguments(const WCHAR* a, const WCHAR* b) {
  for (a = next_argument(a), b = next_argument(b); *a != 0 && *b != 0;
       a = next_argument(a + 2), b = next_argument(b + 2))
    if (a[0] != b[0] || a[1] != b[1]) return false;
  return *a == *b;
}

constexpr bool is_sound(const QVSTRINGRECORD& each) {
  const WCHAR* english = each.text[QVLANGUAGE_ENGLISH];
  return english && std::all_of(std::begin(each.text), std::end(each.text), [english](const WCHAR* text) {
           return !text || take_the_same_arguments(text, english);
         });
}
static_assert(std::all_of(kRecords.begin(), kRecords.end(), is_sound),
              "a row per FormatString, and the English arguments in every language");

} // namespace

const QVSTRINGRECORD& format_string_record(FormatString string) { return kRecords[static_cast<size_t>(string)]; }

} // namespace qv::audio
