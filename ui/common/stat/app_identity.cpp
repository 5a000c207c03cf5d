#include "ui/common/stat/app_identity.h"

#include <algorithm>
#include <iterator>

namespace stats {
namespace {

struct Row {
    ApplicationId id;
    std::string_view folderKey;
    std::string_view displayName; ///< Empty: users never see the name.
    std::string_view shortCode;   ///< Empty: statistics use `kUnknownCode`.
    std::string_view editionName; ///< Empty: there is no yearly edition.
};

constexpr std::string_view kUnknownCode = "unkn";
constexpr std::string_view kSuiteCode = "po";

// Sorted by id, for `find`.
constexpr Row kRows[] = {
    {0, "ZelVideoConverter", "Zel Video Converter", "cvvid", "Zel Video Converter 2026"},
    {1, "ZelAudioConverter", "Zel Audio Converter", "cvaud", {}},
    {2, "ZelPixelConverter", "Zel Pixel Converter", "cvpix", {}},
    {3, "ZelDiscBurner", "Zel Disc Burner", "burn", {}},
    {5, "ZelVideoEditor", "Zel Video Editor", "edvid", "Zel Video Editor 2026"},
    {6, "ZelAudioEditor", "Zel Audio Editor", "_3", {}},
    {7, "ZelScreenRecorder", "Zel Screen Recorder", "_4", {}},
    {8, "ZelMediaPlayer", "Zel Media Player", "play", {}},
    {10, "ZelDiscRipper", "Zel Disc Ripper", "riptor", {}},
    {12, "ZelSlideshowMaker", "Zel Slideshow Maker", "slides", {}},
    {13, "ZelPhotoEditor", "Zel Photo Editor", "_8", {}},
    {14, "ZelCameraCapture", "Zel Camera Capture", "camcap", {}},
    {17, "ZelSubtitleEditor", "Zel Subtitle Editor", "subtitle", {}},
    {19, "ZelTagEditor", "Zel Tag Editor", "tags", {}},
    {21, "ZelVideoDownloader", "Zel Video Downloader", "dlvid", "Zel Video Downloader 2026"},
    {22, "ZelAudioDownloader", "Zel Audio Downloader", "dlaud", {}},
    {25, "ZelPlaylistDownloader", "Zel Playlist Downloader", "dllist", {}},
    {28, "ZelPhoneSync", "Zel Phone Sync", "phone", {}},
    {30, "ZelCloudUploader", "Zel Cloud Uploader", "upcloud", {}},
    {33, "ZelStreamRecorder", "Zel Stream Recorder", "recstream", {}},
    {36, "ZelGifMaker", "Zel Gif Maker", "gifmk", {}},
    {39, "ZelDocumentConverter", "Zel Document Converter", "cvdoc", {}},
    {42, "ZelRingtoneMaker", "Zel Ringtone Maker", "rings", {}},
    {45, "ZelVideoStabilizer", "Zel Video Stabilizer", "stabil", {}},
    {48, "ZelNoiseRemover", "Zel Noise Remover", "denoise", {}},
    {50, "ZelWatermarkStudio", "Zel Watermark Studio", "wmark", {}},
    {53, "ZelClipGrabber", {}, {}, {}},
    {57, "ZelBatchRenamer", "Zel Batch Renamer", "rename", {}},
    {61, "ZelMediaLibrary", "Zel Media Library", {}, {}},
    {68, "ZelLauncher", "Zel Launcher", "launch", {}},
};

const Row* find(ApplicationId id) {
    const auto row = std::ranges::lower_bound(kRows, id, {}, &Row::id);
    return row != std::end(kRows) && row->id == id ? row : nullptr;
}

} // namespace

std::string_view folderKey(ApplicationId application) {
    const Row* row = find(application);
    return row != nullptr ? row->folderKey : std::string_view();
}

std::string_view displayName(ApplicationId application, bool plain) {
    const Row* row = find(application);
    if (row == nullptr)
        return {};
    return plain || row->editionName.empty() ? row->displayName : row->editionName;
}

std::string_view shortCode(ApplicationId application) {
    if (application == kWholeSuite)
        return kSuiteCode;
    const Row* row = find(application);
    return row != nullptr && !row->shortCode.empty() ? row->shortCode : kUnknownCode;
}

} // namespace stats
