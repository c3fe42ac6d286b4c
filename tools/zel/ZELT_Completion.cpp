#include "ZELT_Completion.h"

#include <CLI/CLI.hpp>

#include <vector>

namespace
{

/// What may follow a command: other commands, options, and the values of arguments and options that have a list.
struct Word
{
    std::string text;
    std::string what;
    bool takesValueFlag = false;
    std::string values; ///< with blanks between; "" for any
};

struct Place
{
    std::string path; ///< " preset list"; "" for the program itself
    std::vector<Word> commands;
    std::vector<Word> options;
    std::string values; ///< of an argument
};

/// Of `TEXT:{text,binary}`: the words between the braces.
std::string valuesOf(const CLI::Option &option)
{
    const std::string type = option.get_type_name();
    const std::size_t open = type.find('{');
    std::string values = open == std::string::npos ? "" : type.substr(open + 1);
    values = values.substr(0, values.find('}'));
    for (char &c : values) {
        c = c == ',' ? ' ' : c;
    }
    return values;
}

void addOptions(const CLI::App &app, Place &place)
{
    for (const CLI::Option *option : app.get_options()) {
        const bool takesFlag = option->get_items_expected_max() > 0;
        if (option->get_positional() && option->get_lnames().empty()) {
            place.values += (place.values.empty() ? "" : " ") + valuesOf(*option);
        }
        for (const std::string &name : option->get_snames()) {
            place.options.push_back(
                {"-" + name, option->get_description(), takesFlag, valuesOf(*option)});
        }
        for (const std::string &name : option->get_lnames()) {
            place.options.push_back(
                {"--" + name, option->get_description(), takesFlag, valuesOf(*option)});
        }
    }
}

void addPlaces(const CLI::App &app, const std::string &path, std::vector<Place> &places)
{
    Place place;
    place.path = path;
    addOptions(app, place);
    const std::vector<const CLI::App *> commands = app.get_subcommands({});
    for (const CLI::App *command : commands) {
        place.commands.push_back({command->get_name(), command->get_description(), false, ""});
    }
    places.push_back(std::move(place));
    for (const CLI::App *command : commands) {
        addPlaces(*command, path + " " + command->get_name(), places);
    }
}

std::string joined(const std::vector<Word> &words)
{
    std::string text;
    for (const Word &word : words) {
        text += (text.empty() ? "" : " ") + word.text;
    }
    return text;
}

/// In single quotes.
std::string quoted(const std::string &text)
{
    std::string out = "'";
    for (const char c : text) {
        out += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return out + "'";
}

/// The cases of a `case` that follows the words typed so far from command to command.
std::string pathCases(const std::vector<Place> &places, const char *indent)
{
    std::string text;
    for (const Place &place : places) {
        if (!place.path.empty()) {
            text += indent + quoted(place.path) + ") place=" + quoted(place.path) + " ;;\n";
        }
    }
    return text;
}

// ---------------------------------------------------------------------- //
// The shells
// ---------------------------------------------------------------------- //

/// `PATH OPTION` with the values of the option.
std::string valueCases(const std::vector<Place> &places, const char *indent)
{
    std::string text;
    for (const Place &place : places) {
        for (const Word &option : place.options) {
            if (option.takesValueFlag) {
                text += indent + quoted(place.path + " " + option.text) +
                        ") found=" + quoted(option.values) + " known=1 ;;\n";
            }
        }
    }
    return text;
}

std::string wordCases(const std::vector<Place> &places, const char *indent)
{
    std::string text;
    for (const Place &place : places) {
        text += indent + quoted(place.path) + ") options=" + quoted(joined(place.options)) +
                " found=" + quoted(place.commands.empty() ? place.values : joined(place.commands)) +
                " ;;\n";
    }
    return text;
}

/// What bash and zsh have in common: the word that is typed is number `last` of `line`, the first of which is
/// number `first`; `found` is set to the words that may be there.
std::string search(const std::vector<Place> &places, const char *first)
{
    return "    local place= found= options= known= i\n"
           "    for ((i = " +
           std::string(first) +
           "; i < last; i++)); do\n"
           "        case \"$place ${line[i]}\" in\n" +
           pathCases(places, "            ") +
           "        esac\n"
           "    done\n"
           "    case \"$place ${line[last - 1]}\" in\n" +
           valueCases(places, "        ") +
           "    esac\n"
           "    if [[ -z $known ]]; then\n"
           "        case \"$place\" in\n" +
           wordCases(places, "            ") +
           "        esac\n"
           "        [[ ${line[last]} == -* ]] && found=\"$options\"\n"
           "    fi\n";
}

std::string bashScript(const std::vector<Place> &places)
{
    return "# zel(1): completion for bash.\n"
           "_zel()\n"
           "{\n"
           "    local last=$COMP_CWORD line=(\"${COMP_WORDS[@]}\")\n" +
           search(places, "1") +
           "    COMPREPLY=($(compgen -W \"$found\" -- \"${line[last]}\"))\n"
           "}\n"
           "complete -o bashdefault -o default -F _zel zel\n";
}

std::string zshScript(const std::vector<Place> &places)
{
    return "#compdef zel\n"
           "# zel(1): completion for zsh.\n"
           "_zel()\n"
           "{\n"
           "    local last=$CURRENT\n"
           "    local -a line\n"
           "    line=(\"${words[@]}\")\n" +
           search(places, "2") +
           "    if [[ -n $found ]]; then\n"
           "        compadd -- ${=found}\n"
           "    else\n"
           "        _files\n"
           "    fi\n"
           "}\n"
           "_zel \"$@\"\n";
}

std::string fishScript(const std::vector<Place> &places)
{
    std::string paths;
    std::string lines;
    for (const Place &place : places) {
        paths += place.path.empty() ? "" : " " + quoted(place.path);
        const std::string at =
            "complete -c zel -n " + quoted("test (__zel_path) = " + quoted(place.path)) + " ";
        for (const Word &command : place.commands) {
            lines += at + "-f -a " + command.text + " -d " + quoted(command.what) + "\n";
        }
        for (const Word &option : place.options) {
            const bool longFlag = option.text[1] == '-';
            lines +=
                at + (longFlag ? "-l " + option.text.substr(2) : "-s " + option.text.substr(1));
            lines += !option.takesValueFlag  ? ""
                     : option.values.empty() ? " -r -F"
                                             : " -x -a " + quoted(option.values);
            lines += " -d " + quoted(option.what) + "\n";
        }
        lines += place.values.empty() ? "" : at + "-f -a " + quoted(place.values) + "\n";
    }
    return "# zel(1): completion for fish.\n"
           "function __zel_path\n"
           "    set -l path ''\n"
           "    for word in (commandline -opc)[2..-1]\n"
           "        switch \"$path $word\"\n"
           "            case" +
           paths +
           "\n"
           "                set path \"$path $word\"\n"
           "        end\n"
           "    end\n"
           "    echo \"$path\"\n"
           "end\n" +
           lines;
}

} // namespace

std::string ZELTcompletionScript(const CLI::App &app, const std::string &shell)
{
    std::vector<Place> places;
    addPlaces(app, "", places);
    return shell == "bash"   ? bashScript(places)
           : shell == "zsh"  ? zshScript(places)
           : shell == "fish" ? fishScript(places)
                             : "";
}
