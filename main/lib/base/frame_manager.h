#pragma once

namespace ztlib {

// The client's frame manager: the only source of picture memory. The three functions are set at
// start-up and may be called on any thread.
using AllocateFrameFunction = void* (*)(int width, int height, int pixelFormat);
using ReleaseFrameFunction = void (*)(void* frame);
using ThirdFrameFunction = void (*)();

// With keepExisting only functions that are null at present are replaced.
void RegisterFrameManager(AllocateFrameFunction allocate, ReleaseFrameFunction release,
                          ThirdFrameFunction third, bool keepExisting) noexcept;

// Size in pixels. Null if the manager refuses or none is registered.
void* AllocateFrame(int width, int height, int pixelFormat);

// Gives a frame back to the manager of this moment, if it has a release function. Frames go back in
// destructors, so nothing that the function throws leaves this, and its thread is not cancelled
// meanwhile.
void ReleaseFrame(void* frame) noexcept;

// The fields of a frame that this library reads: those of FFmpeg's AVFrame. LineSize is that of the
// first plane.
void* FramePointer(const void* frame) noexcept;
int FrameLineSize(const void* frame) noexcept;
int FrameWidth(const void* frame) noexcept;
int FrameHeight(const void* frame) noexcept;

}  // namespace ztlib
