#pragma once

#include "q32Base/framework/CObject.h"
#include "q32Base/framework/CString.h"
#include "q32Base/memory/PixelBlock.h"
#include "q32Base/platform/CqScratchService.h"
#include "q32Base/platform/CqWaveOutService.h"
#include "q32Base/platform/Export.h"
#include "q32Base/platform/Records.h"

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>

class CqImage;

/// Playback state of a sound.
enum WAVE_STATE : std::int32_t {
    WAVE_STOPPED = 0, ///< not played yet, at its end, or stopped
    WAVE_PLAYING = 1, ///< the device reads the block
    WAVE_PAUSED = 2   ///< the device is halted within the block
};

/// One PCM sound: its format and all of its samples in one block, which the memory policy places in
/// RAM or on a scratch disk. It can be drawn as an oscillogram and played on the platform's default
/// device, which reads the block directly.
///
/// 8-bit samples are unsigned, with silence at 0x80; 16-bit samples are signed and little-endian.
/// The channels of a frame are interleaved.
///
/// A new block is complete before the old one is released: an operation that fails leaves the old
/// sound intact. Exhausted memory raises CMemoryException, and so do samples lost from a scratch
/// file (`fnCountLosses`). Sizes and frame counts are 32 bits wide, and their products wrap.
///
/// A sound belongs to one thread; the device's thread touches only the playback state. While a
/// sound is playing or paused, the block must not change: call `fnStop` before `fnLoad`, `fnAlloc`,
/// `fnFillBuffer`, `fnSwapBuf` and any assignment. None of them checks.
class Q32_API CqWave : public CObject {
public:
    static const CRuntimeClass classCqWave;

    // Construction.

    /// A sound without a block.
    CqWave();
    /// Calls `fnLoad`.
    explicit CqWave(unsigned int nResourceId);
    /// Calls `CqWave::fnAlloc`.
    CqWave(unsigned int nChannels, unsigned int nBits, unsigned int nSampleRate,
           unsigned long nFrames, bool bMute);
    /// Copies format and samples.
    CqWave(const CqWave& other);
    /// Closes the device, if it is still open, and frees the block.
    ~CqWave() override;

    const CRuntimeClass* GetRuntimeClass() const override;

    /// Copies format and samples into a new block. Self-assignment deliberately loses the samples:
    /// the new block is copied onto itself. Copying a sound without samples raises the memory
    /// exception.
    CqWave& operator=(const CqWave& other);

    // Replacing the sound.

    /// Loads a resource of the host, of the type "WAVE", by the low 16 bits of its id. Deliberately
    /// reads fixed offsets and doesn't parse chunks (docs/behaviour/sound.md): the format at 20,
    /// the size of the samples at 40, samples from 44 on. Raises the resource exception if the
    /// resource is missing, lacks "WAVE" at 8, is too short for its samples, or has frames of 0
    /// bytes.
    void fnLoad(unsigned int nResourceId);
    /// Allocates a new block of `nFrames` frames.
    /// @param nBits  bits per sample, 8 or 16; other depths are stored, but neither silenced nor
    ///               played
    /// @param bMute  silences the block; otherwise its content is what the memory service provides
    void fnAlloc(unsigned int nChannels, unsigned int nBits, unsigned int nSampleRate,
                 unsigned long nFrames, bool bMute);
    /// Copies frames to the start of the block. If they are fewer than it holds, the rest is
    /// silenced and the sound keeps its length; if more, a longer block of the same format is
    /// allocated.
    /// @param pData  `nFrames` frames, outside this sound's block
    void fnFillBuffer(unsigned char* const pData, unsigned long nFrames);
    /// Silences the whole block; no effect at depths other than 8 and 16 bits.
    void fnMute();
    /// Exchanges format and block of two sounds.
    void fnSwapBuf(CqWave& other) noexcept;

    // Access.

    /// Draws `nLength` frames from `nStart` on as an oscillogram, green on black, over the whole
    /// image, one column (`bVertical`: row) per step. Each channel of a mono or stereo sound has
    /// its band; of more channels only the first is drawn.
    ///
    /// A step is an integer number of bytes, but not always of frames: samples are then
    /// deliberately read out of step (docs/behaviour/sound.md). Each step reads one frame, so that
    /// the time doesn't depend on the length of the sound. Samples that aren't entirely in the
    /// block aren't drawn; a sound without channels gives only the background, and an
    /// image without storage stays so.
    /// @param bLineFlag  ignored, as by `CqImage::fnDrawLine`
    void fnRasterize(CqImage& image, unsigned long nStart, unsigned long nLength, bool bVertical,
                     bool bLineFlag) const;
    /// The format; all zeros initially. `cbSize` is always 0.
    WAVEFORMATEX fnGetFormat() const { return m_Format; }
    /// The block, owned by this sound; null without one.
    unsigned char* fnGetBuffer() const { return m_Block.fnGetBytes(); }
    /// How often samples in the scratch file were lost and became zeros, because its disk could not
    /// supply them any more; 0 for a block in RAM. The next function of this class that raises
    /// exceptions raises the memory exception, once, and `q32WriteWave` fails; what is left of the
    /// sound can still be used. Without a platform that survives this
    /// (`CqPosixOptions::m_bGuardViews`), the system ends the process instead.
    std::uint32_t fnCountLosses() const noexcept;
    /// Whether samples were lost since this or an exception last said so: for functions that read
    /// the block.
    bool fnHasNewLosses() const noexcept;
    /// Size of the block in bytes.
    std::uint32_t fnGetBufferSize() const { return m_Block.fnGetSize(); }
    /// Number of complete frames in the block.
    std::uint32_t fnGetFrameCount() const { return m_nFrames; }

    // Playback. Nothing is raised and no message shown.

    /// Plays the block from its start. A sound that is already playing starts again; a paused one
    /// resumes instead, whatever the arguments.
    /// @param bWait  blocks the thread until the end of the sound; a pause from elsewhere would
    ///               block it for good
    /// @param bLoop  repeats until `fnStop`, and doesn't wait
    /// @return false if the device refuses, or if it waited and samples were lost meanwhile.
    ///         Completed steps aren't undone: a device that accepted the format and then rejected
    ///         the block stays open until the next play or the destructor
    bool fnPlay(bool bWait, bool bLoop);
    /// Pauses a playing sound; otherwise no effect. The state becomes paused even if the device
    /// refuses.
    void fnPause();
    /// Stops a playing or paused sound, and returns when the device has returned the block. If the
    /// device refuses, returns at the end of the sound.
    void fnStop();
    /// The present playback state.
    WAVE_STATE fnGetState() const;

protected:
    /// Sets the initial values.
    void fnInit();
    /// Allocates a large block; the references receive the file, mapping and path that identify it.
    unsigned char* fnAllocBuf(unsigned long nSize, CqFileHandle& hFile, CqMappingHandle& hMapping,
                              CString& strPath);
    /// Releases the block, if there is one. The format is kept for a later `fnFillBuffer`.
    void fnFreeBuf();
    /// Releases the block and takes ownership of another one, with its format. If frames have 0
    /// bytes, the frame count is 0.
    void fnSetBuf(unsigned char* const pBuffer, const WAVEFORMATEX& format, unsigned long nSize,
                  CqFileHandle hFile, CqMappingHandle hMapping, CString& strPath);

private:
    Q32_LOCAL void fnMute(unsigned char* pData, unsigned long nBytes);
    /// Adopts a block and sets the copies of the format's fields, the only place that does.
    Q32_LOCAL void fnAdoptBuf(const WAVEFORMATEX& format, q32::PixelBlock&& block);
    Q32_LOCAL void fnReplaceBuf(const WAVEFORMATEX& format, std::uint32_t nSize,
                                const unsigned char* pSamples);
    /// The device, if the sound is in that state; null otherwise.
    Q32_LOCAL std::shared_ptr<CqWaveOut> fnGetDevice(WAVE_STATE state) const;
    Q32_LOCAL void fnChangeState(WAVE_STATE from, WAVE_STATE to);
    Q32_LOCAL bool fnStart(bool bWait, bool bLoop);
    Q32_LOCAL bool fnWrite(std::shared_ptr<CqWaveOut> device);
    Q32_LOCAL void fnAwaitEnd();
    Q32_LOCAL static void fnPlayCallback(CqWave& wave, WAVEHDR& header);

    std::uint32_t m_nChannels;
    std::uint32_t m_nBitsPerSample;
    std::uint32_t m_nBlockAlign; ///< bytes of a frame
    std::uint32_t m_nSampleRate;
    std::uint32_t m_nFrames;
    WAVEFORMATEX m_Format;
    q32::PixelBlock m_Block; ///< the samples

    /// Guards the next three members. The owner's thread doesn't hold it while it calls the device.
    mutable std::mutex m_PlayLock;
    WAVE_STATE m_nState;
    std::shared_ptr<CqWaveOut> m_hWaveOut; ///< the owner's thread calls it through a copy
    std::condition_variable m_hDoneEvent;  ///< signalled when the sound has stopped
    WAVEHDR m_Header;                      ///< used by the device from its preparation to the end
};
