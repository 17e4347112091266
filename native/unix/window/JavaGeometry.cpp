#include "unix/window/JavaGeometry.h"

#include "common/jni/JniClass.h"
#include "common/jni/KnownClass.h"
#include "common/jni/LocalRef.h"
#include "common/jni/jniobject.h"

namespace {
constinit CJavaConstructor s_rectangle{"java/awt/Rectangle", "(IIII)V", " rectClass == NULL"};
} // namespace

std::optional<Point> pointOf(JNIEnv* env, jobject point)
{
    if (!point)
        return std::nullopt;
    const CLocalFrame frame(env);
    CJniClass type(env, "java/awt/Point");
    const CJniJObject object(env, point, &type);
    return Point(object.getInt("x"), object.getInt("y"));
}

std::optional<Rect> rectOf(JNIEnv* env, jobject rectangle)
{
    if (!rectangle)
        return std::nullopt;
    const CLocalFrame frame(env);
    CJniClass type(env, "java/awt/Rectangle");
    const CJniJObject object(env, rectangle, &type);
    return Rect(object.getInt("y"), object.getInt("x"), object.getInt("height"), object.getInt("width"));
}

jobject newPoint(JNIEnv* env, const Point& point)
{
    return CJniClass(env, "java/awt/Point").construct("(II)V", point.getx(), point.gety());
}

jobject newRectangle(JNIEnv* env, CJniTrace& trace, const Rect& rect)
{
    return s_rectangle.make(env, trace, jint{rect.getLeft()}, jint{rect.getTop()}, jint{rect.getWidth()},
                            jint{rect.getHeight()});
}
