// Language: the language of the names of types, properties, methods and
// enumeration values that script code sees. Every such name exists in an
// English and a Russian spelling; a missing Russian spelling falls back to
// the English one.
//
//   core::Thread::setLanguage(core::Language::Russian);
//   core::bilingual_name(u"Array", u"Массив", core::Thread::language());  // u"Массив"
//
// Thread safety: plain values and a pure function.
#ifndef CORE_LANGUAGE_H_
#define CORE_LANGUAGE_H_

namespace core {

// The values are the indices of the spellings in every bilingual name table.
enum class Language : int { English = 0, Russian = 1 };

// The number of languages, for tables indexed by language.
inline constexpr int kLanguageCount = 2;

// The spelling of a bilingual name in `language`: `russian`, or `english`
// when `russian` is null; null for a value outside the enumeration.
constexpr const char16_t* bilingual_name(const char16_t* english, const char16_t* russian,
                                         Language language) noexcept {
  switch (language) {
    case Language::English:
      return english;
    case Language::Russian:
      return russian != nullptr ? russian : english;
  }
  return nullptr;
}

}  // namespace core

#endif  // CORE_LANGUAGE_H_
