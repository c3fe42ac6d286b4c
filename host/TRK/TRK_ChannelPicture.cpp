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

int64_t TRK_ChannelPicture::getMemoryUsage(bool inclusive) const
{
    return myChannel.getMemoryUsage(false) + (inclusive ? int64_t(sizeof(*this)) : 0);
}
