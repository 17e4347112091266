#include "unix/window/JavaGeometry.h"

#include "common/jni/JniClass.h"
#include "common/jni/KnownClass.h"
#include "common/jni/LocalRef.h"
#include "common/jni/jniobject.h"

#include <utility>

namespace {
constinit CJavaConstructor s_rectangle{"java/awt/Rectangle", "(IIII)V", " rectClass == NULL"};

/// What `fields` makes of an object; nothing for null.
template <class Fields>
auto readFrom(JNIEnv* env, jobject object, const char* className, Fields fields)
    -> std::optional<decltype(fields(std::declval<const CJniJObject&>()))>
{
    if (!object)
        return std::nullopt;
    const CLocalFrame frame(env);
    CJniClass type(env, className);
    return fields(CJniJObject(env, object, &type));
}
} // namespace

std::optional<Point> pointOf(JNIEnv* env, jobject point)
{
    return readFrom(env, point, "java/awt/Point",
                    [](const CJniJObject& object) { return Point(object.getInt("x"), object.getInt("y")); });
}

std::optional<Rect> rectOf(JNIEnv* env, jobject rectangle)
{
    return readFrom(env, rectangle, "java/awt/Rectangle", [](const CJniJObject& object) {
        return Rect(object.getInt("y"), object.getInt("x"), object.getInt("height"), object.getInt("width"));
    });
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
