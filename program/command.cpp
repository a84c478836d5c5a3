#include "program/command.h"

#include <filesystem>
#include <optional>

#include <CLI/CLI.hpp>

namespace kivsr::program {

Option Option::required() const { return Option(option_->required()); }
Option Option::needs(const std::string& name) const { return Option(option_->needs(name)); }
Option Option::needs(Option other) const { return Option(option_->needs(other.option_)); }
Option Option::excludes(const std::string& name) const { return Option(option_->excludes(name)); }
Option Option::excludes(Option other) const { return Option(option_->excludes(other.option_)); }
Option Option::one_of(const std::vector<std::string>& words) const {
  return Option(option_->check(CLI::IsMember(words)));
}
Option Option::check(const std::function<std::string(const std::string&)>& fault) const {
  return Option(option_->check(fault));
}
Option Option::each(const std::function<void(const std::string&)>& listener) const {
  return Option(option_->each(listener));
}
Option Option::one_value_each() const { return Option(option_->allow_extra_args(false)); }
Option Option::delimiter(char letter) const { return Option(option_->delimiter(letter)); }
Option Option::group(const std::string& title) const { return Option(option_->group(title)); }
Option Option::type_name(const std::string& name) const { return Option(option_->type_name(name)); }
Option Option::default_text(const std::string& text) const { return Option(option_->default_str(text)); }
bool Option::is_given() const { return option_ != nullptr && option_->count() > 0; }
std::string Option::text() const { return option_->as<std::string>(); }

Command Command::add_subcommand(const std::string& name, const std::string& help) const {
  return *app_->add_subcommand(name, help);
}

void Command::require_subcommand() const { app_->require_subcommand(1); }

template <class Value>
Option Command::add_option(const std::string& names, Value& value, const std::string& help) const {
  return Option(app_->add_option(names, value, help));
}

Option Command::add_option_function(const std::string& names, const std::function<void(const std::string&)>& take,
                                    const std::string& help) const {
  return Option(app_->add_option_function<std::string>(names, take, help));
}

Option Command::add_flag(const std::string& names, bool& value, const std::string& help) const {
  return Option(app_->add_flag(names, value, help));
}

Option Command::add_flag_function(const std::string& names, const std::function<void(std::int64_t)>& take,
                                  const std::string& help) const {
  return Option(app_->add_flag_function(names, take, help));
}

Option Command::option(const std::string& name) const { return Option(app_->get_option(name)); }
void Command::callback(const std::function<void()>& run) const { app_->callback(run); }

template Option Command::add_option(const std::string&, std::string&, const std::string&) const;
template Option Command::add_option(const std::string&, std::vector<std::string>&, const std::string&) const;
template Option Command::add_option(const std::string&, std::filesystem::path&, const std::string&) const;
template Option Command::add_option(const std::string&, int&, const std::string&) const;
template Option Command::add_option(const std::string&, unsigned&, const std::string&) const;
template Option Command::add_option(const std::string&, unsigned long&, const std::string&) const;
template Option Command::add_option(const std::string&, float&, const std::string&) const;
template Option Command::add_option(const std::string&, double&, const std::string&) const;
template Option Command::add_option(const std::string&, std::optional<double>&, const std::string&) const;

}  // namespace kivsr::program
