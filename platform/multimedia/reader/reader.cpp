#include "multimedia/mediareader_p.h"
#include "multimedia/reader/audiotags_p.h"
#include "multimedia/reader/videodecoder_p.h"

namespace
{

class Reader : public multimedia::MediaReader
{
public:
    std::optional<multimedia::AudioTags> readAudioTags(const QString &path,
                                                       bool withPictures) override
    {
        return multimedia::readAudioTags(path, withPictures);
    }
    bool isVideoFile(const QString &path) override { return multimedia::isVideoFile(path); }
    std::optional<multimedia::VideoFrame> decodeFrame(const QString &path,
                                                      int greatestSide) override
    {
        return multimedia::decodeFrame(path, greatestSide);
    }
};

} // namespace

/// The symbol that multimedia::mediaReader() looks up. Never destroyed: tasks may use it while the
/// process exits.
extern "C" Q_DECL_EXPORT multimedia::MediaReader *modelbase_media_reader_instance()
{
    static auto *const reader = new Reader;
    return reader;
}
