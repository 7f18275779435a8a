#pragma once

#include <QString>

namespace kalvo {

// Picks how Qt Quick draws the window. Where the only OpenGL is a software
// rasteriser (Mesa's llvmpipe in a VM, a remote desktop, Xvfb), every frame
// of the OpenGL renderer redraws the whole window on the CPU: a ticking clock
// alone then costs a few per cent of a core. Qt Quick's own software renderer
// repaints only what changed, so it is chosen there. A backend named in the
// environment (QT_QUICK_BACKEND, QSG_RHI_BACKEND) is left alone.
class SceneGraphChoice
{
public:
    // Call after the QGuiApplication exists and before the first window.
    // Returns the renderer that was found to be software, or an empty string
    // when nothing was changed.
    static QString apply();

    // True for the renderer strings of CPU-only OpenGL implementations.
    static bool isSoftwareRenderer(const QString &glRenderer);
};

} // namespace kalvo
