#include "ZELT_Command.h"

#include <CLI/CLI.hpp>

#include <algorithm>

namespace
{

struct NamesOnce : CLI::Formatter
{
    std::string make_option_usage(const CLI::Option *option) const override
    {
        return make_option_name(option, true);
    }
};

} // namespace

ZELT_Option ZELT_Option::required() const
{
    myOption->required();
    return *this;
}

ZELT_Option ZELT_Option::oneOf(const std::vector<std::string> &words) const
{
    myOption->check(CLI::IsMember(words));
    return *this;
}

ZELT_Option ZELT_Option::within(int low, int high) const
{
    myOption->check(CLI::Range(low, high));
    return *this;
}

ZELT_Option ZELT_Option::needs(const ZELT_Option &other) const
{
    myOption->needs(other.myOption);
    return *this;
}

ZELT_Option ZELT_Option::excludes(const ZELT_Option &other) const
{
    myOption->excludes(other.myOption);
    return *this;
}

ZELT_Option ZELT_Command::addOption(const char *name, std::string &value, const char *what) const
{
    return ZELT_Option(*myApp->add_option(name, value, what));
}

ZELT_Option ZELT_Command::addOption(const char *name, int &value, const char *what) const
{
    return ZELT_Option(*myApp->add_option(name, value, what));
}

ZELT_Option ZELT_Command::addOption(const char *name, std::optional<double> &value,
                                    const char *what) const
{
    return ZELT_Option(*myApp->add_option(name, value, what));
}

ZELT_Option ZELT_Command::addOption(const char *name, std::vector<std::string> &values,
                                    const char *what) const
{
    return ZELT_Option(*myApp->add_option(name, values, what));
}

ZELT_Option ZELT_Command::addList(const char *name, std::vector<std::string> &values,
                                  const char *what) const
{
    // Without the limit an option would take the words after its value too: each takes exactly one.
    return ZELT_Option(
        *myApp->add_option(name, values, what)->expected(1)->allow_extra_args(false)->take_all());
}

ZELT_Option ZELT_Command::addFlag(const char *name, bool &value, const char *what) const
{
    return ZELT_Option(*myApp->add_flag(name, value, what));
}

void ZELT_Command::needsOne(const char *missing, std::initializer_list<ZELT_Option> options) const
{
    myApp->parse_complete_callback([missing, options = std::vector<ZELT_Option>(options)] {
        if (std::all_of(options.begin(), options.end(),
                        [](const ZELT_Option &option) { return option.myOption->empty(); })) {
            throw CLI::RequiredError(missing);
        }
    });
}

void ZELT_Command::nameArgumentsOnce() const
{
    myApp->formatter(std::make_shared<NamesOnce>());
}
