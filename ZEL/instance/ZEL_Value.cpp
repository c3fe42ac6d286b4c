#include <ZEL/ZEL_Value.h>

#include <ZEL/ZEL_Multi.h>

void ZEL_Value::addInterest(void *data, Callback callback)
{
    for (const std::shared_ptr<Interest> &interest : myInterests) {
        if (!interest->callback) {
            interest->data = data;
            interest->callback = callback;
            return;
        }
    }
    auto interest = std::make_shared<Interest>();
    interest->data = data;
    interest->callback = callback;
    myInterests.push_back(std::move(interest));
}

void ZEL_Value::removeInterest(void *data, Callback callback)
{
    for (const std::shared_ptr<Interest> &interest : myInterests) {
        if (interest->data == data && interest->callback == callback) {
            *interest = Interest();
        }
    }
}

bool ZEL_Value::hasInterest(const void *data) const
{
    if (!data) {
        return false;
    }
    for (const std::shared_ptr<Interest> &interest : myInterests) {
        if (interest->data == data && interest->callback) {
            return true;
        }
    }
    return false;
}

void ZEL_Value::changed()
{
    // By index, and with a copy of the record: a listener may add and remove interests.
    const ZEL_Multi::KeepItems keep;
    for (std::size_t i = myInterests.size(); i-- > 0;) {
        const Interest interest = *myInterests[i];
        if (interest.callback) {
            interest.callback(interest.data, myPayload);
        }
    }
}
