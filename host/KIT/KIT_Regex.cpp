#include <KIT/KIT_Regex.h>

#include <re2/re2.h>

#include <new>

struct KIT_Regex::Compiled
{
    explicit Compiled(const char *pattern) : expression(pattern, getOptions()) {}

    static RE2::Options getOptions()
    {
        RE2::Options options;
        options.set_log_errors(false);
        return options;
    }

    RE2 expression;
};

KIT_Regex::KIT_Regex(const char *pattern)
{
    try {
        myCompiled = std::make_unique<Compiled>(pattern ? pattern : "");
        if (!myCompiled->expression.ok()) {
            myErrorText = KIT_StringHolder(myCompiled->expression.error());
            myCompiled.reset();
        }
    } catch (const std::bad_alloc &) {
        myCompiled.reset();
    }
}

KIT_Regex::~KIT_Regex() = default;
KIT_Regex::KIT_Regex(KIT_Regex &&) noexcept = default;
KIT_Regex &KIT_Regex::operator=(KIT_Regex &&) noexcept = default;

bool KIT_Regex::isValid() const
{
    return myCompiled != nullptr;
}

bool KIT_Regex::match(const char *text) const
{
    return myCompiled && RE2::FullMatch(text ? text : "", myCompiled->expression);
}
