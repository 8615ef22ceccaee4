// Drives the calling helper with arbitrary names (any case, either
// alphabet, broken UTF-16) and argument vectors against every registered
// enumeration and a sample object whose table has every kind of member and
// default. Only the library's own exceptions may escape a call; the three
// lookup strategies must agree on every name; a call must hand its argument
// vector back as it was lent.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "core/context.h"
#include "core/enumeration.h"
#include "core/enumeration_types.h"
#include "core/exception.h"
#include "core/type.h"
#include "core/value.h"

namespace {

constexpr core::ContextPropDecl kProps[] = {
    {{u"Size", u"Размер"}, true, true},
    {{u"Name"}, true, false},
    {{u"Key", u"Ключ"}, false, true},
    {{u"size", u"РАЗМЕР"}, true, true},  // names taken by the first: never found
};
constexpr core::ContextParamDefault kDefaults[] = {
    core::ContextParamDefault::notGiven(), core::ContextParamDefault::undefined(),
    core::ContextParamDefault::null(),     core::ContextParamDefault::boolean(false),
    core::ContextParamDefault::number(-7), core::ContextParamDefault::text(u"x"),
    core::ContextParamDefault::required(), core::ContextParamDefault::notGiven(),
    core::ContextParamDefault::notGiven(), core::ContextParamDefault::notGiven()};
constexpr core::ContextMethodDecl kMethods[] = {
    {{u"Get", u"Получить"}, 1, true},
    {{u"Wide", u"Широкий"}, 11, true, kDefaults, 0b1010},
    {{u"Clear", u"Очистить"}, 0, false},
};
constexpr core::ContextTable kTable{kProps, kMethods};

class Sample final : public core::UnknownImpl<core::IContextExtImplBase> {
 public:
  IContextDefBase* getIContextDef() override { return core::static_context_def<kTable>(); }
  bool getPropVal(int prop, core::GenericValue& value) override {
    value.assign(prop);
    return prop >= 0 && prop < 4;
  }
  bool setPropVal(int prop, const core::GenericValue&) override { return prop >= 0 && prop < 4; }
  bool call(int method, core::GenericValue* ret_val,
            std::vector<core::GenericValue*>& params) override {
    if (method < 0 || method > 2) return false;
    // Every argument the helper hands over must be readable.
    for (core::GenericValue* param : params) (void)core::to_string(*param);
    if (ret_val != nullptr) ret_val->assign(static_cast<int>(params.size()));
    return true;
  }
};

constexpr core::GUID kEnumerations[] = {
    core::kSearchDirectionTypeClsid, core::kRoundModeTypeClsid,     core::kSortDirectionTypeClsid,
    core::kDateFractionsTypeClsid,   core::kAllowedLengthTypeClsid, core::kAllowedSignTypeClsid,
    core::kTextDirectionTypeClsid,   core::kPictureTypeTypeClsid};

void check_lookup(core::IContext* context, const core::String& name) {
  core::IContextDefBase* def = context->getIContextDef();
  core::ContextDefCached sorted;
  const int prop = context->findProp(name);
  const int method = context->findMethod(name);
  if (prop != sorted.findProp(def, name) ||
      prop != core::ContextDefNoncached::findProp(def, name) ||
      method != sorted.findMethod(def, name) ||
      method != core::ContextDefNoncached::findMethod(def, name)) {
    std::abort();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 4) return 0;
  const std::size_t target = data[0] % (std::size(kEnumerations) + 1);
  core::InterfacePtr<core::IContext> context;
  core::Type type(core::TypeCode::Undefined);
  if (target == std::size(kEnumerations)) {
    context.reset(new Sample);
  } else {
    type = core::Type(kEnumerations[target]);
    context = core::InterfacePtr<core::IContext>(core::context_of(type));
  }
  if (!context) std::abort();

  std::vector<char16_t> units((size - 4) / 2);
  if (!units.empty()) std::memcpy(units.data(), data + 4, units.size() * sizeof(char16_t));
  const core::String name(units.data(), units.size());
  check_lookup(context.get(), name);

  std::vector<core::Value> values;
  const std::size_t argc = data[2] % 13;
  for (std::size_t i = 0; i < argc; ++i) values.emplace_back(static_cast<int>(i));
  std::vector<core::GenericValue*> args;
  for (std::size_t i = 0; i < argc; ++i) {
    args.push_back((data[3] >> (i % 8) & 1) != 0 ? nullptr : &values[i]);
  }
  const std::vector<core::GenericValue*> lent = args;
  core::Value result;
  try {
    switch (data[1] % 5) {
      case 0:
        core::get_context_property(context.get(), name, result);
        break;
      case 1:
        core::set_context_property(context.get(), name, values.empty() ? result : values[0]);
        break;
      case 2:
        core::call_context_method(context.get(), name, args, &result);
        break;
      case 3:
        core::call_context_method(context.get(), name, args, nullptr);
        break;
      default:
        core::call_context_method(context.get(), static_cast<int>(data[3]) - 128, args, &result);
        break;
    }
  } catch (const core::Exception&) {
  }
  if (args != lent) std::abort();
  return 0;
}
