// coretool methods TYPE: the members of a type as script code sees them.
#include <cstdio>
#include <string>

#include "command.h"
#include "core/core.h"

namespace coretool {
namespace {

std::string utf8(const char16_t* text) {
  return text != nullptr ? core::String(text).toUtf8() : std::string();
}

// "English / Russian", or the English name alone when both are the same.
std::string both_names(const char16_t* english, const char16_t* russian) {
  std::string names = utf8(english);
  if (russian != nullptr && core::String(russian) != core::String(english)) {
    names += " / " + utf8(russian);
  }
  return names;
}

// The default of parameter `param`, as a script author reads it; empty when
// the parameter is required.
std::string default_text(core::IContextDefBase* def, int method, int param) {
  core::Value value;
  if (!def->getParamDefValue(method, param, &value)) return std::string();
  // The "not given" marker holds Undefined.
  if (core::is_undefined_value(value)) return "not given";
  if (value.type().getTypeCode() == core::TypeCode::String) {
    std::string quoted(1, '"');
    quoted += core::to_string(value).toUtf8();
    quoted += '"';
    return quoted;
  }
  return core::to_string(value).toUtf8();
}

// `text` followed by spaces up to `width` characters (not bytes, so that
// Cyrillic names line up as Latin ones do).
std::string padded(const std::string& text, std::size_t width) {
  std::size_t chars = 0;
  for (const char byte : text) chars += (static_cast<unsigned char>(byte) & 0xC0) != 0x80;
  return text + std::string(chars < width ? width - chars : 0, ' ');
}

void print_members(core::IContextDefBase* def) {
  const int props = def->getNProps();
  std::printf("properties: %d\n", props);
  for (int i = 0; i < props; ++i) {
    const bool readable = def->isPropReadable(i);
    const bool writable = def->isPropWritable(i);
    std::printf("  %s %s\n",
                padded(both_names(def->getPropName(i, 0), def->getPropName(i, 1)), 40).c_str(),
                readable && writable ? "read/write"
                : readable           ? "read only"
                                     : "write only");
  }
  const int methods = def->getNMethods();
  std::printf("methods: %d\n", methods);
  for (int i = 0; i < methods; ++i) {
    std::string params;
    const int count = def->getNParams(i);
    for (int p = 0; p < count; ++p) {
      const std::string given = default_text(def, i, p);
      params += (p == 0 ? "" : ", ") + std::string("p") + std::to_string(p + 1);
      if (def->isParamOut(i, p)) params += " (out)";
      if (!given.empty()) params += " = " + given;
    }
    std::printf("  %s %-9s (%s)\n",
                padded(both_names(def->getMethodName(i, 0), def->getMethodName(i, 1)), 40).c_str(),
                def->hasRetVal(i) ? "function" : "procedure", params.c_str());
  }
}

void print_values(core::IEnumValFactory* factory, core::IType* type) {
  const int count = factory->getNItems();
  const core::InterfacePtr<core::IValue> initial = type->createIValue();
  std::printf("values: %d\n", count);
  for (int i = 0; i < count; ++i) {
    const core::EnumValItem* item = factory->getItem(i);
    std::string names = both_names(item->termString(0), item->termString(1));
    if (item->termString(2) != nullptr || item->termString(3) != nullptr) {
      names +=
          " (also " +
          both_names(item->termString(2) != nullptr ? item->termString(2) : item->termString(3),
                     item->termString(3)) +
          ")";
    }
    const core::EnumValValueBase* value = core::enumeration_value_of(initial.get());
    std::printf("  %4d  %s%s%s\n", item->value(), names.c_str(),
                value != nullptr && value->code() == item->value() ? "  (default)" : "",
                item->deprecated() ? "  (deprecated)" : "");
  }
}

int run(const Arguments& args) {
  if (args.size() != 1) return usage_error(kMethodsCommand);
  try {
    const core::Type type(core::String::fromUtf8(args[0]));
    core::IType* itype = type.getIType();
    std::printf("%s\n", both_names(itype->getName(core::Language::English),
                                   itype->getName(core::Language::Russian))
                            .c_str());
    if (auto* enumeration = dynamic_cast<core::EnumValTypeBase*>(itype);
        enumeration != nullptr && enumeration->enumValFactory() != nullptr) {
      print_values(enumeration->enumValFactory(), itype);
      return 0;
    }
    // An object's members are those of its values.
    const core::Value value(type.createIValue().get());
    core::IContext* context = core::context_of(value.getIValue());
    if (context == nullptr) {
      std::printf("no properties or methods\n");
      return 0;
    }
    print_members(context->getIContextDef());
    return 0;
  } catch (const core::Exception& e) {
    return report_failure(e);
  }
}

}  // namespace

const Command kMethodsCommand = {
    "methods",
    "  methods TYPE    the properties and methods of a type (either language, any case),\n"
    "                  or the values of an enumeration with their codes\n",
    &run};

}  // namespace coretool
