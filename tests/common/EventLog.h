/// \file EventLog.h
/// Records the change events of a list: event 4 of the parameter at index 2 is "4:2".
///
/// Ownership:  installs itself as the list's handler; must live as long as the list sends events.
#pragma once

#include <ZEL/ZEL_ParmList.h>

#include <string>

class EventLog
{
public:
    explicit EventLog(ZEL_ParmList &list) { list.setEventHandler(this, handle); }
    EventLog(const EventLog &) = delete;
    EventLog &operator=(const EventLog &) = delete;

    /// The events since the last call, with blanks between.
    std::string take()
    {
        std::string events;
        events.swap(myEvents);
        return events;
    }

private:
    static void handle(void *data, TRK_CHANGE_TYPE type, int parmIndex)
    {
        std::string &events = static_cast<EventLog *>(data)->myEvents;
        events += (events.empty() ? "" : " ") + std::to_string(int(type)) + ":" +
                  std::to_string(parmIndex);
    }

    std::string myEvents;
};
