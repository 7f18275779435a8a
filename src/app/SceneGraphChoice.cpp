#include "SceneGraphChoice.h"

#include <QGuiApplication>
#include <QQuickWindow>
#include <QSGRendererInterface>

#if QT_CONFIG(opengl)
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#endif

using namespace Qt::StringLiterals;

namespace kalvo {

namespace {

#if QT_CONFIG(opengl)
// A throw-away context, once at start-up: the renderer string is only known
// from a current context.
QString openGlRenderer()
{
    QOpenGLContext context;
    if (!context.create())
        return {};
    QOffscreenSurface surface;
    surface.setFormat(context.format());
    surface.create();
    if (!surface.isValid() || !context.makeCurrent(&surface))
        return {};
    const auto *renderer = reinterpret_cast<const char *>(context.functions()->glGetString(GL_RENDERER));
    QString name = renderer ? QString::fromLatin1(renderer) : QString();
    context.doneCurrent();
    return name;
}
#endif

} // namespace

bool SceneGraphChoice::isSoftwareRenderer(const QString &glRenderer)
{
    static const QLatin1StringView names[] = {"llvmpipe"_L1, "softpipe"_L1, "software rasterizer"_L1,
                                              "swrast"_L1, "gdi generic"_L1};
    for (const QLatin1StringView name : names) {
        if (glRenderer.contains(name, Qt::CaseInsensitive))
            return true;
    }
    return false;
}

QString SceneGraphChoice::apply()
{
#if QT_CONFIG(opengl)
    if (!qEnvironmentVariableIsEmpty("QT_QUICK_BACKEND") || !qEnvironmentVariableIsEmpty("QSG_RHI_BACKEND"))
        return {};
    // Only where Qt Quick would draw with OpenGL (Linux); Direct3D and Metal
    // have their own software fallbacks.
    if (QQuickWindow::graphicsApi() != QSGRendererInterface::OpenGL)
        return {};
    if (QGuiApplication::platformName() == "offscreen"_L1)
        return {};
    const QString renderer = openGlRenderer();
    if (!isSoftwareRenderer(renderer))
        return {};
    QQuickWindow::setGraphicsApi(QSGRendererInterface::Software);
    return renderer;
#else
    return {};
#endif
}

} // namespace kalvo
