// What each result says, in the language in force.
#include "kernel/result_sentences.h"

#include <algorithm>

namespace {

using qv::ResultSentence;
constexpr auto of_system = qv::result_of_system;

constexpr bool is_of_system(HRESULT result) { return (result & ~0xFFFF) == of_system(0); }

const ResultSentence* find(std::span<const ResultSentence> rows, HRESULT result) {
  const auto row =
      std::find_if(rows.begin(), rows.end(), [=](const ResultSentence& each) { return each.result == result; });
  return row == rows.end() ? nullptr : &*row;
}

// clang-format off
// An error of the system that has no row.
constexpr QVSTRINGRECORD kSystemError = {{
    QV_TEXT("the system reports an error"), QV_TEXT("das System meldet einen Fehler"),
    QV_TEXT("le système signale une erreur"), QV_TEXT("el sistema informa de un error"),
    QV_TEXT("il sistema segnala un errore"), QV_TEXT("o sistema informa um erro"),
    QV_TEXT("het systeem meldt een fout"), QV_TEXT("systemet rapporterar ett fel"),
    QV_TEXT("systemet melder om en fejl"), QV_TEXT("systemet melder om en feil"),
    QV_TEXT("järjestelmä ilmoittaa virheestä"), QV_TEXT("system zgłasza błąd"), QV_TEXT("systém hlásí chybu"),
    QV_TEXT("система сообщает об ошибке"), QV_TEXT("sistem bir hata bildiriyor"),
    QV_TEXT("システムがエラーを報告しました"), QV_TEXT("시스템에서 오류를 보고했습니다"), QV_TEXT("系统报告错误")}};

constexpr QVSTRINGRECORD kUnknown = {{
    QV_TEXT("unknown result"), QV_TEXT("unbekanntes Ergebnis"), QV_TEXT("résultat inconnu"),
    QV_TEXT("resultado desconocido"), QV_TEXT("risultato sconosciuto"), QV_TEXT("resultado desconhecido"),
    QV_TEXT("onbekend resultaat"), QV_TEXT("okänt resultat"), QV_TEXT("ukendt resultat"),
    QV_TEXT("ukjent resultat"), QV_TEXT("tuntematon tulos"), QV_TEXT("nieznany wynik"), QV_TEXT("neznámý výsledek"),
    QV_TEXT("неизвестный результат"), QV_TEXT("bilinmeyen sonuç"), QV_TEXT("不明な結果"),
    QV_TEXT("알 수 없는 결과"), QV_TEXT("未知结果")}};
// clang-format on

/// The result whose sentence says the same.
constexpr HRESULT with_the_same_sentence(HRESULT result) {
  switch (result) {
  case STG_E_INVALIDPOINTER: return E_POINTER;
  case of_system(ERROR_PATH_NOT_FOUND): return of_system(ERROR_FILE_NOT_FOUND);
  case of_system(ERROR_NOT_ENOUGH_MEMORY): return E_OUTOFMEMORY;
  case of_system(ERROR_NOT_SUPPORTED): return E_NOTIMPL;
  case of_system(ERROR_HANDLE_DISK_FULL):
  case of_system(ERROR_DISK_FULL): return STG_E_MEDIUMFULL;
  case of_system(ERROR_INSUFFICIENT_BUFFER):
  case of_system(ERROR_MORE_DATA): return QVERR_MOREDATA;
  default: return result;
  }
}

} // namespace

const WCHAR* QvResultText(HRESULT result) {
  const HRESULT wanted = with_the_same_sentence(result);
  for (const auto& rows : {qv::library_sentences(), qv::standard_sentences()})
    if (const ResultSentence* const row = find(rows, wanted)) return QvLanguage_Text(&row->texts);
  return QvLanguage_Text(is_of_system(result) ? &kSystemError : &kUnknown);
}
