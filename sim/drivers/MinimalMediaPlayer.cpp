// The minimal media player: a listener slot and refusals.
#include "MinimalMediaPlayer.h"

namespace SimDrivers {

int32 MinimalMediaPlayer::AddListener(void* /*context*/, KELO::MediaPlayerListener* listener,
                                      int /*eventMask*/)
{
    return mListener.add(listener);
}

int32 MinimalMediaPlayer::RemoveListener(KELO::MediaPlayerListener* listener)
{
    return mListener.remove(listener);
}

int32 MinimalMediaPlayer::SetSource(KELO::MediaBuffer* buffer)
{
    return buffer == nullptr ? KELO::SUCCESS : KELO::NOT_SUPPORTED;
}

int32 MinimalMediaPlayer::SetOutput(KELO::Layer* /*layer*/)
{
    return KELO::SUCCESS;
}

int32 MinimalMediaPlayer::SetPosAndSpeed(int /*speed*/, int /*position*/, int /*flags*/)
{
    return KELO::FAILURE; // nothing selected
}

int32 MinimalMediaPlayer::GetPosAndSpeed(int* position, int* speed)
{
    if (position != nullptr)
        *position = 0;
    if (speed != nullptr)
        *speed = 0;
    return KELO::FAILURE;
}

} // namespace SimDrivers
