#pragma once

// The client's frame manager: the only source of picture memory. The three functions are set at
// start-up and may be called on any thread.
namespace frame_manager {

using AllocateFunction = void* (*)(int width, int height, int pixelFormat);
using ReleaseFunction = void (*)(void* frame);
using ThirdFunction = void (*)();

// With keepExisting only functions that are null at present are replaced.
void Register(AllocateFunction allocate, ReleaseFunction release, ThirdFunction third,
              bool keepExisting) noexcept;

// Size in pixels. Null if the manager refuses or none is registered.
void* Allocate(int width, int height, int pixelFormat);

// Gives a frame back to the manager of this moment, if it has a release function. Frames go back in
// destructors, so nothing that the function throws leaves this, and its thread is not cancelled
// meanwhile.
void Release(void* frame) noexcept;

// The fields of a frame that this library reads: those of FFmpeg's AVFrame. LineSize is that of the
// first plane.
void* FirstPointer(const void* frame) noexcept;
int LineSize(const void* frame) noexcept;
int Width(const void* frame) noexcept;
int Height(const void* frame) noexcept;

}  // namespace frame_manager
