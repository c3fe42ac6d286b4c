#include <TRK/TRK_ChannelPicture.h>

TRK_ChannelPicture::TRK_ChannelPicture(const TRK_Channel &channel)
    : myChannel(nullptr, channel.getName())
{
    myChannel.copyContents(channel);
    myChannel.myAlias = channel.getAlias();
    for (int i = 0; i < myChannel.getNSegments(); ++i) {
        myChannel.getSegment(i)->getCompiledExpression();
    }
    myChannel.getDefaultSegment().getCompiledExpression();
}

TRK_ChannelPicture::~TRK_ChannelPicture() = default;

void TRK_ChannelPicture::link(const MakeReader &make)
{
    for (int i = 0; i < myChannel.getNSegments(); ++i) {
        const TRK_Expression *const compiled = myChannel.getSegment(i)->getCompiledExpression();
        if (compiled != nullptr && !compiled->getReferences().empty()) {
            const_cast<TRK_Expression *>(compiled)->setReader(make(*compiled)); // this copy's own
        }
    }
}

int64_t TRK_ChannelPicture::getMemoryUsage(bool inclusive) const
{
    return myChannel.getMemoryUsage(false) + (inclusive ? int64_t(sizeof(*this)) : 0);
}
