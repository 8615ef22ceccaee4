#include "core/type_domain.h"

#include <gtest/gtest.h>

#include <random>
#include <unordered_set>
#include <vector>

#include "core/binary_data.h"
#include "core/exception_classes.h"
#include "core/value.h"
#include "test_util.h"

namespace core {
namespace {

using P = TypeDomainPattern;

constexpr GUID kZero{};
constexpr GUID kBoolean = {
    0x5D4125AD, 0xF6E7, 0x4313, {0xBE, 0x32, 0xF7, 0x1D, 0x0A, 0xB6, 0x09, 0x15}};
constexpr GUID kUnregistered = {0x01234567, 0x89AB, 0xCDEF, {1, 2, 3, 4, 5, 6, 7, 8}};

TEST(Qualifiers, ConstructorsCutToTheirRanges) {
  struct Case {
    unsigned digits, fraction, want_digits, want_fraction;
  };
  for (const Case& c : {Case{100, 70, 64, 64}, Case{0, 5, 0, 0}, Case{5, 7, 5, 5},
                        Case{64, 64, 64, 64}, Case{65, 0, 64, 0}, Case{10, 2, 10, 2}}) {
    const NumericQualifiers q(c.digits, c.fraction, true);
    EXPECT_EQ(q.digits(), c.want_digits) << c.digits << "," << c.fraction;
    EXPECT_EQ(q.fraction(), c.want_fraction) << c.digits << "," << c.fraction;
    EXPECT_TRUE(q.nonnegative());
  }
  EXPECT_EQ(NumericQualifiers(), NumericQualifiers(0, 0, false));

  for (int parts : {0, 3, 4, -1, 7}) EXPECT_EQ(DateQualifiers(parts).parts(), DateParts::DateTime);
  EXPECT_EQ(DateQualifiers(1).parts(), DateParts::Date);
  EXPECT_EQ(DateQualifiers(6).parts(), DateParts::Time);
  EXPECT_EQ(DateQualifiers().parts(), DateParts::DateTime);

  // Any stored kind byte but 0 reads as variable.
  EXPECT_EQ(StringQualifiers(5, static_cast<LengthKind>(7)).lengthKind(), LengthKind::Variable);
  EXPECT_EQ(BinaryQualifiers(5, LengthKind::Fixed).lengthKind(), LengthKind::Fixed);
}

TEST(Qualifiers, MergeKeepsTheLargerIntegerAndFractionParts) {
  const NumericQualifiers merged =
      NumericQualifiers(10, 2, true).merge(NumericQualifiers(5, 4, true));
  EXPECT_EQ(merged, NumericQualifiers(12, 4, true));
  EXPECT_EQ(NumericQualifiers(10, 2, true).merge(NumericQualifiers(5, 4, false)),
            NumericQualifiers(12, 4, false));
  // Unlimited on either side is unlimited.
  EXPECT_EQ(NumericQualifiers(10, 2, false).merge(NumericQualifiers()), NumericQualifiers());
  // The cut to 64 digits.
  EXPECT_EQ(NumericQualifiers(64, 0, false).merge(NumericQualifiers(64, 64, false)),
            NumericQualifiers(64, 64, false));
  EXPECT_EQ(NumericQualifiers(40, 0, false).merge(NumericQualifiers(30, 30, false)),
            NumericQualifiers(64, 30, false));
}

TEST(TypeDomainPattern, UndefinedAndZeroGuidsAreNeverAdded) {
  P pattern(std::vector<GUID>{P::kUndefinedType, kZero, P::kNumberType, P::kNumberType});
  EXPECT_EQ(pattern.size(), 1u);
  pattern.addType(P::kUndefinedType);
  pattern.addType(kZero);
  EXPECT_EQ(pattern.size(), 1u);
  EXPECT_TRUE(P(P::kUndefinedType).empty());
  EXPECT_EQ(P(kZero), P());
  EXPECT_TRUE(P() == P::kUndefinedType);
  EXPECT_TRUE(P() == kZero);
  EXPECT_EQ(P().front(), P::kUndefinedType);
}

TEST(TypeDomainPattern, ListOperationsKeepTheOrderOfAdding) {
  P pattern;
  pattern.addTypes({P::kStringType, kBoolean, P::kNumberType, kBoolean});
  ASSERT_EQ(pattern.size(), 3u);
  EXPECT_EQ(pattern.front(), P::kStringType);
  EXPECT_EQ(pattern.types()[2], P::kNumberType);
  EXPECT_TRUE(pattern.contains(kBoolean));
  EXPECT_FALSE(pattern.contains(P::kDateType));
  EXPECT_EQ(pattern.find([](const GUID& g) { return g != P::kStringType; }), kBoolean);
  EXPECT_EQ(pattern.find([](const GUID& g) { return g == P::kDateType; }), std::nullopt);
  std::vector<GUID> seen;
  pattern.forEach([&](const GUID& g) { seen.push_back(g); });
  EXPECT_EQ(seen, (std::vector<GUID>{P::kStringType, kBoolean, P::kNumberType}));
}

TEST(TypeDomainPattern, EqualityWithAGuidNeedsTheDefaultQualifiers) {
  P number(P::kNumberType);
  EXPECT_TRUE(number == P::kNumberType);
  EXPECT_FALSE(number == P::kStringType);
  number.setNumericQualifiers(NumericQualifiers(10, 2, false));
  EXPECT_FALSE(number == P::kNumberType);
  P two(P::kNumberType);
  two.addType(P::kStringType);
  EXPECT_FALSE(two == P::kNumberType);
  // Qualifiers of a type the pattern lacks count too.
  P string(P::kStringType);
  string.setDateQualifiers(DateQualifiers(1));
  EXPECT_FALSE(string == P::kStringType);
}

TEST(TypeDomainPattern, EqualPatternsHashEqualAndOrderMatters) {
  P a(std::vector<GUID>{P::kNumberType, P::kStringType});
  P b(P::kNumberType);
  b.addType(P::kStringType);
  a.setStringQualifiers(StringQualifiers(10, LengthKind::Fixed));
  b.setStringQualifiers(StringQualifiers(10, LengthKind::Fixed));
  EXPECT_EQ(a, b);
  EXPECT_EQ(a.hash(), b.hash());
  EXPECT_EQ(std::hash<TypeDomain>()(TypeDomain(a)), b.hash());

  const P reversed(std::vector<GUID>{P::kStringType, P::kNumberType});
  EXPECT_NE(P(std::vector<GUID>{P::kNumberType, P::kStringType}), reversed);

  // Each qualifier takes part in equality and, for these, in the hash.
  std::vector<P> variants(6, a);
  variants[0].setNumericQualifiers(NumericQualifiers(10, 2, false));
  variants[1].setNumericQualifiers(NumericQualifiers(0, 0, true));
  variants[2].setStringQualifiers(StringQualifiers(10));
  variants[3].setDateQualifiers(DateQualifiers(2));
  variants[4].setBinaryQualifiers(BinaryQualifiers(3));
  variants[5].addType(P::kDateType);
  std::unordered_set<size_t> hashes{a.hash()};
  for (const P& variant : variants) {
    EXPECT_NE(variant, a);
    hashes.insert(variant.hash());
  }
  EXPECT_EQ(hashes.size(), 7u);
}

TEST(TypeDomainPattern, CopiesAreIndependentAfterAnyChange) {
  P original(std::vector<GUID>{P::kNumberType, P::kStringType});
  original.setNumericQualifiers(NumericQualifiers(10, 2, false));
  const P snapshot = original;
  const std::vector<void (*)(P&)> changes = {
      [](P& p) { p.addType(P::kDateType); },
      [](P& p) { p.addTypes({kBoolean}); },
      [](P& p) { p.merge(P(P::kBinaryDataType)); },
      [](P& p) { p.setNumericQualifiers(NumericQualifiers(3, 1, true)); },
      [](P& p) { p.setStringQualifiers(StringQualifiers(4)); },
      [](P& p) { p.setDateQualifiers(DateQualifiers(1)); },
      [](P& p) { p.setBinaryQualifiers(BinaryQualifiers(8)); },
  };
  for (size_t i = 0; i < changes.size(); ++i) {
    P copy = original;
    P copy_of_copy = copy;
    changes[i](copy);
    EXPECT_NE(copy, original) << "change " << i;
    EXPECT_EQ(original, snapshot) << "change " << i;
    EXPECT_EQ(copy_of_copy, snapshot) << "change " << i;
  }
  // A moved-from pattern is empty and usable.
  P moved = original;
  P target = std::move(moved);
  EXPECT_EQ(target, snapshot);
  moved.addType(P::kDateType);  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(moved, P(P::kDateType));
}

TEST(TypeDomainPattern, HasEqualQualifierLooksOnlyAtTheGivenType) {
  P a(P::kNumberType);
  P b(P::kNumberType);
  a.setNumericQualifiers(NumericQualifiers(10, 2, false));
  b.setNumericQualifiers(NumericQualifiers(10, 2, true));
  a.setStringQualifiers(StringQualifiers(5, LengthKind::Fixed));
  b.setStringQualifiers(StringQualifiers(5, LengthKind::Variable));
  a.setDateQualifiers(DateQualifiers(1));
  b.setDateQualifiers(DateQualifiers(1));
  b.setBinaryQualifiers(BinaryQualifiers(9));
  EXPECT_FALSE(a.hasEqualQualifier(b, P::kNumberType));
  EXPECT_FALSE(a.hasEqualQualifier(b, P::kStringType));
  EXPECT_TRUE(a.hasEqualQualifier(b, P::kDateType));
  EXPECT_FALSE(a.hasEqualQualifier(b, P::kBinaryDataType));
  EXPECT_TRUE(a.hasEqualQualifier(b, kBoolean));
  EXPECT_TRUE(TypeDomain(a).hasEqualQualifier(TypeDomain(b), kUnregistered));
}

TEST(TypeDomainPattern, MergeUnitesTypesAndQualifiersOfTheSharedBasicTypes) {
  P numbers(P::kNumberType);
  numbers.setNumericQualifiers(NumericQualifiers(10, 2, true));
  numbers.setStringQualifiers(StringQualifiers(99, LengthKind::Fixed));  // no String here
  P mixed(std::vector<GUID>{P::kStringType, P::kNumberType});
  mixed.setNumericQualifiers(NumericQualifiers(5, 4, true));
  mixed.setStringQualifiers(StringQualifiers(7, LengthKind::Fixed));

  P merged = numbers;
  merged.merge(mixed);
  EXPECT_EQ(std::vector<GUID>(merged.types().begin(), merged.types().end()),
            (std::vector<GUID>{P::kNumberType, P::kStringType}));
  EXPECT_EQ(merged.numericQualifiers(), NumericQualifiers(12, 4, true));
  // Only `mixed` has String: its bound is taken.
  EXPECT_EQ(merged.stringQualifiers(), StringQualifiers(7, LengthKind::Fixed));

  P strings(P::kStringType);
  strings.setStringQualifiers(StringQualifiers(3, LengthKind::Fixed));
  strings.merge(mixed);
  EXPECT_EQ(strings.stringQualifiers(), StringQualifiers(7, LengthKind::Variable));
  P dates(P::kDateType);
  dates.setDateQualifiers(DateQualifiers(1));
  P times(P::kDateType);
  times.setDateQualifiers(DateQualifiers(2));
  dates.merge(times);
  EXPECT_EQ(dates.dateQualifiers().parts(), DateParts::DateTime);
  P unlimited(P::kBinaryDataType);
  P bytes(P::kBinaryDataType);
  bytes.setBinaryQualifiers(BinaryQualifiers(4, LengthKind::Fixed));
  unlimited.merge(bytes);
  EXPECT_EQ(unlimited.binaryQualifiers(), BinaryQualifiers());

  // Gathering from an empty pattern; merging a pattern into itself.
  P gathered;
  gathered.merge(mixed);
  EXPECT_EQ(gathered, mixed);
  gathered.merge(gathered);
  EXPECT_EQ(gathered, mixed);
}

TEST(TypeDomainPattern, IsSubsetComparesTypesAndBounds) {
  auto number = [](unsigned d, unsigned f, bool nonneg) {
    P p(P::kNumberType);
    p.setNumericQualifiers(NumericQualifiers(d, f, nonneg));
    return p;
  };
  auto string = [](unsigned length, LengthKind kind) {
    P p(P::kStringType);
    p.setStringQualifiers(StringQualifiers(length, kind));
    return p;
  };
  auto date = [](int parts) {
    P p(P::kDateType);
    p.setDateQualifiers(DateQualifiers(parts));
    return p;
  };
  const auto F = LengthKind::Fixed;
  const auto V = LengthKind::Variable;
  struct Case {
    P a, b;
    bool subset;
  };
  const Case cases[] = {
      {P(), P(P::kNumberType), true},
      {P(P::kNumberType), P(), false},
      {P(P::kNumberType), P(std::vector<GUID>{P::kStringType, P::kNumberType}), true},
      {P(std::vector<GUID>{P::kStringType, P::kNumberType}), P(P::kNumberType), false},
      {number(5, 2, false), number(6, 2, false), true},
      {number(5, 2, false), number(6, 3, false), true},
      {number(5, 2, false), number(5, 3, false), false},  // 3 integer digits vs 2
      {number(5, 2, false), number(0, 0, false), true},
      {number(0, 0, false), number(64, 10, false), false},
      {number(5, 2, false), number(9, 2, true), false},
      {number(5, 2, true), number(9, 2, false), true},
      {string(5, V), string(6, V), true},
      {string(5, F), string(6, V), true},
      {string(5, F), string(5, F), true},
      {string(5, V), string(5, F), false},
      {string(5, F), string(6, F), false},
      {string(0, V), string(100, V), false},
      {string(7, F), string(0, F), true},
      {date(1), date(3), true},
      {date(2), date(1), false},
      {date(3), date(2), false},
  };
  for (size_t i = 0; i < std::size(cases); ++i) {
    EXPECT_EQ(cases[i].a.isSubset(cases[i].b), cases[i].subset) << "case " << i;
  }
}

TEST(TypeDomainPattern, BothInputsLieWithinTheirMerge) {
  std::mt19937 random(20240801);
  const GUID kinds[] = {P::kNumberType, P::kStringType, P::kDateType, P::kBinaryDataType, kBoolean};
  auto any_pattern = [&] {
    P p;
    for (const GUID& kind : kinds) {
      if (random() % 2) p.addType(kind);
    }
    const unsigned digits = random() % 33;
    p.setNumericQualifiers(NumericQualifiers(digits, random() % (digits + 1), random() % 2));
    p.setStringQualifiers(StringQualifiers(random() % 4, static_cast<LengthKind>(random() % 2)));
    p.setDateQualifiers(DateQualifiers(static_cast<int>(random() % 4)));
    p.setBinaryQualifiers(BinaryQualifiers(random() % 4, static_cast<LengthKind>(random() % 2)));
    return p;
  };
  for (int i = 0; i < 2000; ++i) {
    const P a = any_pattern();
    const P b = any_pattern();
    P merged = a;
    merged.merge(b);
    ASSERT_TRUE(a.isSubset(merged)) << i;
    ASSERT_TRUE(b.isSubset(merged)) << i;
  }
}

TEST(TypeDomain, DefaultTypeIsTheFirstTypeOrUndefined) {
  EXPECT_EQ(TypeDomain().defaultType().getTypeCode(), TypeCode::Undefined);
  EXPECT_EQ(TypeDomain(P::kUndefinedType).defaultType().getTypeCode(), TypeCode::Undefined);
  const TypeDomain domain(P(std::vector<GUID>{P::kDateType, P::kNumberType}));
  EXPECT_EQ(domain.defaultType().getTypeCode(), TypeCode::Date);
  EXPECT_EQ(TypeDomain(P::kBinaryDataType).defaultType().getIType(), binary_data_type());
  EXPECT_THROW_IDS(TypeDomain(kUnregistered).defaultType(), TypeException,
                   "IDS_TYPEERROR_TYPENOTDEFINED");
}

TEST(TypeDomain, CopiesShareOneDescription) {
  P pattern(P::kNumberType);
  pattern.setNumericQualifiers(NumericQualifiers(15, 2, false));
  const TypeDomain domain(pattern);
  const TypeDomain copy = domain;
  EXPECT_EQ(copy.types().data(), pattern.types().data());
  pattern.addType(P::kStringType);  // pattern gets a description of its own
  EXPECT_NE(copy.types().data(), pattern.types().data());
  EXPECT_EQ(copy.size(), 1u);
  EXPECT_EQ(copy.numericQualifiers().digits(), 15u);
}

TEST(BinaryData, TypeIsRegisteredAndValuesCompareByBytes) {
  const Type by_guid(kBinaryDataTypeClsid);
  EXPECT_EQ(by_guid.getIType(), binary_data_type());
  EXPECT_EQ(Type(u"двоичныеданные").getCLSID(), kBinaryDataTypeClsid);
  EXPECT_EQ(by_guid.getTypeCode(), TypeCode::Object);

  const std::uint8_t bytes[] = {1, 2, 3};
  const Value a(create_binary_data_value(bytes).get());
  const Value b(create_binary_data_value(std::vector<std::uint8_t>{1, 2, 3}).get());
  const Value c(create_binary_data_value(std::vector<std::uint8_t>{1, 2}).get());
  EXPECT_TRUE(a.equals(b));
  EXPECT_EQ(a.hashCode(), b.hashCode());
  EXPECT_FALSE(a.equals(c));
  EXPECT_FALSE(a.equals(Value(u"\x01\x02\x03")));
  ASSERT_NE(binary_data_of(a.getIValue()), nullptr);
  EXPECT_EQ(binary_data_of(a.getIValue())->size(), 3u);
  EXPECT_EQ(binary_data_of(Value(3).getIValue()), nullptr);
  EXPECT_EQ(binary_data_of(nullptr), nullptr);

  const Value empty(by_guid.createIValue().get());
  EXPECT_EQ(binary_data_of(empty.getIValue())->size(), 0u);
  EXPECT_NE(empty.getIValue()->getDataPtr(), nullptr);
  Numeric number;
  EXPECT_FALSE(empty.getNumeric(number));
}

}  // namespace
}  // namespace core
