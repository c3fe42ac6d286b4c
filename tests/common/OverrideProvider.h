/// \file OverrideProvider.h
/// An override provider that returns what a test has set, and records its calls.
///
/// Ownership:  is the process's provider while it lives.
#pragma once

#include <ZEL/ZEL_ORCallback.h>
#include <ZEL/ZEL_ParmList.h>

#include <atomic>
#include <sstream>
#include <string>

class OverrideProvider : public ZEL_ORCallback
{
public:
    explicit OverrideProvider(double answer = 5.0) : value(answer)
    {
        ZEL_ParmList::setORCallback(this);
    }
    ~OverrideProvider() override { ZEL_ParmList::setORCallback(nullptr); }

    double value;          // and 100 for each step of the data index
    std::string text;      // of strings; empty: the number
    int timeDepAnswer = 0; // -1: leaves the argument unchanged
    int activeAnswer = 1;
    bool takes = true;
    std::atomic<int> evals{0};
    std::atomic<int> timeDepAsked{0};
    std::atomic<double> timeAsked{-1.0};
    std::string sets; // "float 3 12 @1", joined by "; "

    double evalFloat(int dataIndex, double time, int *timeDep, int *active) override
    {
        return double(evalInt(dataIndex, time, timeDep, active)) + time;
    }
    std::int64_t evalInt(int dataIndex, double time, int *timeDep, int *active) override
    {
        ++evals;
        timeAsked = time;
        timeDepAsked += timeDep ? 1 : 0;
        if (timeDep && timeDepAnswer >= 0) {
            *timeDep = timeDepAnswer;
        }
        *active = activeAnswer;
        return std::int64_t(value) + dataIndex * 100;
    }
    KIT_StringHolder evalString(int dataIndex, double time, int *timeDep, int *active) override
    {
        const std::int64_t number = evalInt(dataIndex, time, timeDep, active);
        return KIT_StringHolder((text.empty() ? std::to_string(number) : text).c_str());
    }
    bool setFloat(int dataIndex, double time, int first, int second, double given) override
    {
        return note("float", dataIndex, time, first || second, given);
    }
    bool setInt(int dataIndex, double time, int first, int second, std::int64_t given) override
    {
        return note("int", dataIndex, time, first || second, given);
    }
    bool setString(int, double, int, int, const KIT_StringHolder &) override { return takes; }

private:
    template <class Number>
    bool note(const char *kind, int dataIndex, double time, bool odd, Number given)
    {
        std::ostringstream os;
        os << kind << " " << dataIndex << " " << given << " @" << time << (odd ? "?" : "");
        sets += (sets.empty() ? "" : "; ") + os.str();
        return takes;
    }
};
