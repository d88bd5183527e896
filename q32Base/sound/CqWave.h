#pragma once

#include "q32Base/framework/CObject.h"
#include "q32Base/framework/CString.h"
#include "q32Base/memory/PixelBlock.h"
#include "q32Base/platform/CqScratchService.h"
#include "q32Base/platform/CqWaveOutService.h"
#include "q32Base/platform/Records.h"

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>

class CqImage;

/// What a sound is doing.
enum WAVE_STATE : std::int32_t { WAVE_STOPPED = 0, WAVE_PLAYING = 1, WAVE_PAUSED = 2 };

/// One PCM sound: its format and all of its samples in one block, which lies where the memory
/// policy wants it, in RAM or on a scratch disk. It draws itself as an oscillogram and plays itself
/// on the platform's default device, which reads the block as it lies.
///
/// Samples of 8 bits are unsigned, with silence at 0x80; samples of 16 bits are signed and stored
/// low byte first. Those of the channels of one frame follow each other.
///
/// A new block is complete before the old one goes: an operation that fails leaves the old sound
/// whole. Memory failures are raised as CMemoryException. Sizes and frame counts are 32 bits wide,
/// and their products wrap.
///
/// A sound belongs to one thread; the device's thread touches only what tells of the play-back.
/// While a sound is under way, the block must not change: `fnStop` comes before `fnLoad`,
/// `fnAlloc`, `fnFillBuffer`, `fnSwapBuf` and any assignment. None of them looks.
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
    /// Closes the device, if a sound is still under way, and frees the block.
    ~CqWave() override;

    const CRuntimeClass* GetRuntimeClass() const override;

    /// Copies format and samples into a new block. Assigning a sound to itself loses its samples,
    /// deliberately: the fresh block is copied onto itself. A sound without samples can't be
    /// copied: the memory exception.
    CqWave& operator=(const CqWave& other);

    // Replacing the sound.

    /// Loads a resource of the type "WAVE" of the host by its low 16 bits. Its layout is fixed and
    /// its chunks aren't walked, deliberately: the format at 20, the size of the samples at 40,
    /// samples from 44 on. Raises the resource exception when the resource is missing, doesn't say
    /// "WAVE" at 8, is too short for its samples, or gives a frame no bytes.
    void fnLoad(unsigned int nResourceId);
    /// Makes a new block of `nFrames` frames.
    /// @param nBits  a sample's, 8 or 16; other depths are stored, but neither silenced nor played
    /// @param bMute  silences the block; else it holds what the memory service gives
    void fnAlloc(unsigned int nChannels, unsigned int nBits, unsigned int nSampleRate,
                 unsigned long nFrames, bool bMute);
    /// Copies frames to the start of the block. Fewer than it holds silence the rest, and the sound
    /// keeps its length; more give a longer block of the same format.
    /// @param pData  as many frames, outside this sound's block
    void fnFillBuffer(unsigned char* const pData, unsigned long nFrames);
    /// Silences the whole block; at depths other than 8 and 16 bits nothing happens.
    void fnMute();
    /// Exchanges format and block of two sounds.
    void fnSwapBuf(CqWave& other) noexcept;

    // Looking at it.

    /// Draws `nLength` frames from `nStart` on as an oscillogram, green on black, over the whole
    /// image, one column (`bVertical`: row) a step. Each channel of a mono or stereo sound has its
    /// band; of more channels the first one alone is drawn.
    ///
    /// A step is a whole number of bytes, but not always of frames: then the samples are read out
    /// of step, deliberately. Each step reads one frame, so that a long sound costs no more than a
    /// short one. Samples that don't lie wholly in the block aren't drawn; nor is anything of a
    /// sound without channels.
    /// @param bLineFlag  passed on to `CqImage::fnDrawLine`
    void fnRasterize(CqImage& image, unsigned long nStart, unsigned long nLength, bool bVertical,
                     bool bLineFlag) const;
    /// The format, zeros at the start. `cbSize` is always 0.
    WAVEFORMATEX fnGetFormat() const { return m_Format; }
    /// The block, which stays this sound's; null without one.
    unsigned char* fnGetBuffer() const { return m_Block.fnGetBytes(); }
    /// Bytes of the block.
    std::uint32_t fnGetBufferSize() const { return m_Block.fnGetSize(); }
    /// Whole frames in the block.
    std::uint32_t fnGetFrameCount() const { return m_nFrames; }

    // Play-back. Nothing is raised and no message shown.

    /// Plays the block from its start; a sound that plays already begins anew, and a paused one
    /// goes on instead, whatever the arguments say.
    /// @param bWait  returns at the end of the sound. The thread stands still until then; a
    ///               pause from elsewhere would hold it for good
    /// @param bLoop  plays again and again until `fnStop`, and doesn't wait
    /// @return false when the device refuses. What was done until then isn't undone: a device that
    ///         took the format and then refused the block stays open until the next play or the
    ///         end of the object
    bool fnPlay(bool bWait, bool bLoop);
    /// Holds a sound that plays; otherwise nothing happens. It counts as paused even if the device
    /// refuses.
    void fnPause();
    /// Ends a sound that plays or is paused, and returns when the device has given the block back.
    /// Should the device refuse, it returns at the end of the sound.
    void fnStop();
    /// What the sound is doing at this moment.
    WAVE_STATE fnGetState() const;

protected:
    /// Start values.
    void fnInit();
    /// A block from the allocator of large blocks, with what identifies it.
    unsigned char* fnAllocBuf(unsigned long nSize, CqFileHandle& hFile, CqMappingHandle& hMapping,
                              CString& strPath);
    /// Gives the block back, if there is one. The format stays, for a later `fnFillBuffer`.
    void fnFreeBuf();
    /// Gives the block back and adopts another one, with its format; a format whose frames have no
    /// bytes counts none.
    void fnSetBuf(unsigned char* const pBuffer, const WAVEFORMATEX& format, unsigned long nSize,
                  CqFileHandle hFile, CqMappingHandle hMapping, CString& strPath);

private:
    void fnMute(unsigned char* pData, unsigned long nBytes);
    /// The one place where a block is adopted and the copies of the format's fields are set.
    void fnAdoptBuf(const WAVEFORMATEX& format, q32::PixelBlock&& block);
    void fnReplaceBuf(const WAVEFORMATEX& format, std::uint32_t nSize);
    /// The device, if the sound is in that state; null otherwise.
    std::shared_ptr<CqWaveOut> fnGetDevice(WAVE_STATE state) const;
    void fnChangeState(WAVE_STATE from, WAVE_STATE to);
    bool fnStart(bool bWait, bool bLoop);
    bool fnWrite(std::shared_ptr<CqWaveOut> device);
    void fnAwaitEnd();
    static void fnPlayCallback(CqWave& wave, WAVEHDR& header);

    std::uint32_t m_nChannels;
    std::uint32_t m_nBitsPerSample;
    std::uint32_t m_nBlockAlign; ///< bytes of a frame
    std::uint32_t m_nSampleRate;
    std::uint32_t m_nFrames;
    WAVEFORMATEX m_Format;
    q32::PixelBlock m_Block; ///< the samples

    /// Guards the three below it. The owner's thread doesn't hold it while it calls the device.
    mutable std::mutex m_PlayLock;
    WAVE_STATE m_nState;
    std::shared_ptr<CqWaveOut> m_hWaveOut; ///< the owner's thread calls it by a copy
    std::condition_variable m_hDoneEvent;  ///< set when the sound has stopped
    WAVEHDR m_Header;                      ///< the device's, from its preparation to the end
};
