// A small option parser: options are declared by name, a command line is read against them, and the
// program asks which were given and with what value.
#ifndef RAVELO_CMDLINE_H
#define RAVELO_CMDLINE_H

#include <algorithm>
#include <cstddef>
#include <exception>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace cmdline {

/// Thrown where the interface is used wrongly: a name that was not declared, or declared twice, or
/// a value asked for with another type. A bad command line throws nothing.
class cmdline_error : public std::exception {
 public:
  explicit cmdline_error(std::string text) : message(std::move(text)) {}
  const char* what() const noexcept override { return message.c_str(); }

  std::string message;
};

/// Turns the text of the command line into a value. A reader for another type is a specialisation
/// with the same call, which throws a standard exception for a text that it cannot use.
template <typename T>
struct default_reader;

template <>
struct default_reader<std::string> {
  std::string operator()(const std::string& text) const { return text; }
};

/// How the usage text speaks of the values of a type; specialised like `default_reader`.
template <typename T>
struct value_form;

template <>
struct value_form<std::string> {
  static std::string type_name() { return "string"; }
  static std::string text(const std::string& value) { return value; }
};

/// Options with a long name, a one-letter short name or none, and a value or none.
///
/// All options are declared with `add` first; then `parse` reads a command line, and `exist` and
/// `get` answer. Another `parse` keeps what was given before.
class parser {
 public:
  /// An option, whatever its kind.
  class option_base {
   public:
    virtual ~option_base() {}

    /// Whether the option takes a value.
    virtual bool has_value() const = 0;

    /// The option was given without a value. False if it needs one.
    virtual bool set() = 0;

    /// The option was given with a value. False if the value cannot be used; nothing changes then.
    virtual bool set(const std::string& value) = 0;

    /// Whether the option was given.
    virtual bool has_set() const = 0;

    /// False if the option is required and was not given.
    virtual bool valid() const = 0;

    /// Whether the option is required.
    virtual bool must() const = 0;

    /// Long name.
    virtual const std::string& name() const = 0;

    /// Short name; 0 if there is none.
    virtual char short_name() const = 0;

    /// Text for the usage listing.
    virtual const std::string& description() const = 0;

    /// Text for the usage line.
    virtual std::string short_description() const = 0;
  };

  /// A flag.
  class option_without_value : public option_base {
   public:
    option_without_value(const std::string& name, char short_name, const std::string& description)
        : name_(name), short_name_(short_name), description_(description) {}

    bool has_value() const override { return false; }
    bool set() override {
      is_set_ = true;
      return true;
    }
    bool set(const std::string&) override { return false; }
    bool has_set() const override { return is_set_; }
    bool valid() const override { return true; }
    bool must() const override { return false; }
    const std::string& name() const override { return name_; }
    char short_name() const override { return short_name_; }
    const std::string& description() const override { return description_; }
    std::string short_description() const override { return "--" + name_; }

   private:
    std::string name_;
    char short_name_;
    std::string description_;
    bool is_set_ = false;
  };

  /// An option with a value of type `T`, without the way to read one.
  template <typename T>
  class option_with_value : public option_base {
   public:
    /// The description becomes its full form: it tells the type too, and the default value of an
    /// option that is not required.
    option_with_value(const std::string& name, char short_name, bool need, const T& default_value,
                      const std::string& description)
        : name_(name),
          short_name_(short_name),
          need_(need),
          description_(full_description(description, need, default_value)),
          actual_(default_value) {}

    bool has_value() const override { return true; }
    bool set() override { return false; }
    bool set(const std::string& value) override {
      try {
        actual_ = read(value);
      } catch (const std::exception&) {
        return false;
      }
      is_set_ = true;
      return true;
    }
    bool has_set() const override { return is_set_; }
    bool valid() const override { return !need_ || is_set_; }
    bool must() const override { return need_; }
    const std::string& name() const override { return name_; }
    char short_name() const override { return short_name_; }
    const std::string& description() const override { return description_; }
    std::string short_description() const override {
      return "--" + name_ + "=" + value_form<T>::type_name();
    }

    /// The value given last, or the default.
    const T& get() const { return actual_; }

   protected:
    /// Turns a text into a value; throws a standard exception if that cannot be.
    virtual T read(const std::string& text) = 0;

   private:
    static std::string full_description(const std::string& description, bool need,
                                        const T& default_value) {
      std::string full = description + " (" + value_form<T>::type_name();
      if (!need) full += " [=" + value_form<T>::text(default_value) + "]";
      return full + ")";
    }

    std::string name_;
    char short_name_;
    bool need_;
    std::string description_;
    bool is_set_ = false;
    T actual_;
  };

  /// An option with a value of type `T` that a function object of type `F` reads.
  template <typename T, typename F>
  class option_with_value_with_reader : public option_with_value<T> {
   public:
    option_with_value_with_reader(const std::string& name, char short_name, bool need,
                                  const T& default_value, const std::string& description,
                                  const F& reader = F())
        : option_with_value<T>(name, short_name, need, default_value, description),
          reader_(reader) {}

   protected:
    T read(const std::string& text) override { return reader_(text); }

   private:
    F reader_;
  };

  /// Declares a flag; a short name of 0 means none. Throws `cmdline_error` if the name is taken.
  void add(const std::string& name, char short_name, const std::string& description) {
    enter(name, std::make_unique<option_without_value>(name, short_name, description));
  }

  /// Declares an option with a value; `need` makes it required. Throws as the other `add`.
  template <typename T>
  void add(const std::string& name, char short_name, const std::string& description, bool need,
           const T& default_value) {
    using option = option_with_value_with_reader<T, default_reader<T>>;
    enter(name, std::make_unique<option>(name, short_name, need, default_value, description));
  }

  /// Whether an option was declared.
  bool known(const std::string& name) const { return options_.count(name) != 0; }

  /// Whether an option was given. Throws `cmdline_error` if it was not declared.
  bool exist(const std::string& name) const { return option_named(name).has_set(); }

  /// The value given last, or the default. Throws `cmdline_error` if the option was not declared,
  /// or is not one with a value of type `T`.
  template <typename T>
  const T& get(const std::string& name) const {
    const auto* option = dynamic_cast<const option_with_value<T>*>(&option_named(name));
    if (!option) throw cmdline_error("type mismatch flag '" + name + "'");
    return option->get();
  }

  /// Reads a command line, whose first argument is the program's name. True if it is well formed;
  /// else `errors` tells what is wrong, in the order of the arguments.
  bool parse(int argc, const char* const* argv) {
    errors.clear();
    others.clear();
    if (argc < 1) {
      errors.push_back("argument number must be longer than 0");
      return false;
    }
    if (program_name.empty()) program_name = argv[0];
    short_names lookup;
    if (!fill_lookup(lookup)) return false;

    arguments rest(argv + 1, argv + argc);
    while (!rest.at_end()) {
      const std::string argument = rest.take();
      if (argument.compare(0, 2, "--") == 0) {
        parse_long(argument.substr(2), rest);
      } else if (argument.size() > 1 && argument[0] == '-') {
        parse_group(argument.substr(1), lookup, rest);
      } else if (argument != "-") {
        others.push_back(argument);
      }
    }
    for (const auto& [name, option] : options_) {
      if (!option->valid()) errors.push_back("need option: --" + name);
    }
    return errors.empty();
  }

  /// The usage text: a line on how to call the program, and one line for each option.
  std::string usage() const {
    std::string text = "usage: " + program_name + " ";
    std::size_t width = 0;
    for (const option_base* option : ordered_) {
      if (option->must()) text += option->short_description() + " ";
      width = std::max(width, option->name().size());
    }
    text += "[options] ... " + footer + "\noptions:\n";
    for (const option_base* option : ordered_) {
      if (option->short_name()) {
        text += std::string("  -") + option->short_name() + ", ";
      } else {
        text += "      ";
      }
      text += "--" + option->name() + std::string(width + 4 - option->name().size(), ' ');
      text += option->description() + "\n";
    }
    return text;
  }

 private:
  /// Long names by short name; empty for a short name that several options have.
  using short_names = std::map<char, std::string>;

  /// The arguments that are not taken yet.
  class arguments {
   public:
    arguments(const char* const* begin, const char* const* end) : next_(begin), end_(end) {}
    bool at_end() const { return next_ == end_; }
    std::string take() { return *next_++; }

   private:
    const char* const* next_;
    const char* const* end_;
  };

  void enter(const std::string& name, std::unique_ptr<option_base> option) {
    const auto [entry, is_new] = options_.try_emplace(name, std::move(option));
    if (!is_new) throw cmdline_error("multiple definition: " + name);
    ordered_.push_back(entry->second.get());
  }

  const option_base& option_named(const std::string& name) const {
    const auto entry = options_.find(name);
    if (entry == options_.end()) throw cmdline_error("there is no flag: --" + name);
    return *entry->second;
  }

  // The option of a long name on the command line; null, and an error, if there is none.
  option_base* find_long(const std::string& name) {
    const auto entry = options_.find(name);
    if (entry == options_.end()) {
      errors.push_back("undefined option: --" + name);
      return nullptr;
    }
    return entry->second.get();
  }

  // The option of a letter on the command line; null, and an error, if there is none.
  option_base* find_short(char letter, const short_names& lookup) {
    const auto entry = lookup.find(letter);
    if (entry == lookup.end()) {
      errors.push_back(std::string("undefined short option: -") + letter);
      return nullptr;
    }
    if (entry->second.empty()) {
      errors.push_back(std::string("ambiguous short option: -") + letter);
      return nullptr;
    }
    return find_long(entry->second);
  }

  bool fill_lookup(short_names& lookup) {
    for (const auto& [name, option] : options_) {
      const char letter = option->short_name();
      if (name.empty() || !letter) continue;
      const auto [entry, is_new] = lookup.try_emplace(letter, name);
      if (!is_new) {
        entry->second.clear();
        errors.push_back(std::string("short option '") + letter + "' is ambiguous");
        return false;
      }
    }
    return true;
  }

  void give(option_base& option) {
    if (!option.set()) errors.push_back("option needs value: --" + option.name());
  }

  void give(option_base& option, const std::string& value) {
    if (!option.set(value)) {
      errors.push_back("option value is invalid: --" + option.name() + "=" + value);
    }
  }

  // An option by its long name; its value stands behind a "=" or is the next argument.
  void parse_long(const std::string& text, arguments& rest) {
    const std::size_t equals = text.find('=');
    option_base* const option = find_long(text.substr(0, equals));
    if (!option) return;
    if (equals != std::string::npos) {
      give(*option, text.substr(equals + 1));
    } else if (option->has_value() && !rest.at_end()) {
      give(*option, rest.take());
    } else {
      give(*option);
    }
  }

  // Options by their letters, of which only the last can take the next argument as its value.
  void parse_group(const std::string& letters, const short_names& lookup, arguments& rest) {
    for (std::size_t i = 0; i < letters.size(); ++i) {
      option_base* const option = find_short(letters[i], lookup);
      if (!option) continue;
      const bool is_last = i + 1 == letters.size();
      if (is_last && option->has_value() && !rest.at_end()) {
        give(*option, rest.take());
      } else {
        give(*option);
      }
    }
  }

  std::map<std::string, std::unique_ptr<option_base>> options_;
  std::vector<option_base*> ordered_;  // The same options, in the order of their addition.

 public:
  std::string footer;               ///< Text behind "[options] ... " in the usage line.
  std::string program_name;         ///< For the usage line; `parse` fills it if it is empty.
  std::vector<std::string> others;  ///< Arguments that are not options.
  std::vector<std::string> errors;  ///< What was wrong with the last command line.
};

}  // namespace cmdline

#endif
