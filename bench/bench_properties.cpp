// The same reads and sets by the property systems of general frameworks, each beside its baseline in
// the same run: F, one look-up of the same names in a std::unordered_map<std::string, double>. The
// ratios are to be read beside those of get/ and set/ of the program `values`. Which of the frameworks the
// machine has decides what is here.

#include "BenchBeside.h"

#include <benchmark/benchmark.h>

#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#ifdef ZEL_BENCH_GLIB
#include <glib-object.h>
#endif
#ifdef ZEL_BENCH_QT
#include <QCoreApplication>
#include <QEvent>
#include <QObject>
#include <QVariant>
#endif

namespace
{

constexpr int theParms = 100;
constexpr int theSteps = 65536;

struct Names
{
    Names()
    {
        const char *const words[] = {"translate", "size", "rough", "weight", "count"};
        std::mt19937 random(1);
        for (int i = 0; i < theParms; ++i) {
            tokens.push_back(std::string(words[i % 5]) + std::to_string(i));
            map[tokens.back()] = i;
        }
        for (int i = 0; i < theSteps; ++i) {
            order.push_back(tokens[random() % theParms].c_str());
            keys.push_back(order.back());
        }
    }

    std::vector<std::string> tokens;
    std::vector<const char *> order;
    std::vector<std::string> keys;
    std::unordered_map<std::string, double> map;
};

const Names &names()
{
    static const Names theNames;
    return theNames;
}

double baselineF()
{
    double sum = 0.0;
    for (const std::string &key : names().keys) {
        sum += names().map.find(key)->second;
    }
    return sum;
}

using Block = double (*)();

void beside(benchmark::State &state, Block operation)
{
    benchBeside(
        state, theSteps, theSteps, [&] { benchmark::DoNotOptimize(operation()); },
        [] { benchmark::DoNotOptimize(baselineF()); });
}

[[maybe_unused]] void add(const char *name, Block operation)
{
    benchmark::RegisterBenchmark(name, beside, operation)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}

#ifdef ZEL_BENCH_GLIB
// -------------------------------------------------------------------------- //
// GLib
// -------------------------------------------------------------------------- //

struct BenchObject
{
    GObject parent;
    double values[theParms];
};

struct BenchObjectClass
{
    GObjectClass parent;
};

G_DEFINE_TYPE(BenchObject, bench_object, G_TYPE_OBJECT)

void glibGet(GObject *object, guint id, GValue *value, GParamSpec *)
{
    g_value_set_double(value, reinterpret_cast<BenchObject *>(object)->values[id - 1]);
}

void glibSet(GObject *object, guint id, const GValue *value, GParamSpec *)
{
    reinterpret_cast<BenchObject *>(object)->values[id - 1] = g_value_get_double(value);
}

void bench_object_class_init(BenchObjectClass *type)
{
    type->parent.get_property = glibGet;
    type->parent.set_property = glibSet;
    for (int i = 0; i < theParms; ++i) {
        g_object_class_install_property(&type->parent, guint(i + 1),
                                        g_param_spec_double(names().tokens[std::size_t(i)].c_str(),
                                                            "", "", -1e9, 1e9, 0.0,
                                                            G_PARAM_READWRITE));
    }
}

void bench_object_init(BenchObject *) {}

GObject *glibObject()
{
    static GObject *theObject = G_OBJECT(g_object_new(bench_object_get_type(), nullptr));
    return theObject;
}

double glibReads()
{
    GObject *object = glibObject();
    GValue value = G_VALUE_INIT;
    g_value_init(&value, G_TYPE_DOUBLE);
    double sum = 0.0;
    for (const char *name : names().order) {
        g_object_get_property(object, name, &value);
        sum += g_value_get_double(&value);
    }
    return sum;
}

double glibSets()
{
    GObject *object = glibObject();
    double count = 0.0;
    const gulong handler = g_signal_connect(
        object, "notify",
        G_CALLBACK(+[](GObject *, GParamSpec *, gpointer data) { ++*static_cast<double *>(data); }),
        &count);
    GValue value = G_VALUE_INIT;
    g_value_init(&value, G_TYPE_DOUBLE);
    double next = 0.0;
    for (const char *name : names().order) {
        g_value_set_double(&value, next += 1.0);
        g_object_set_property(object, name, &value);
    }
    g_signal_handler_disconnect(object, handler);
    return count;
}
#endif

#ifdef ZEL_BENCH_QT
// -------------------------------------------------------------------------- //
// Qt, with properties that are added at run time
// -------------------------------------------------------------------------- //

class BenchQObject : public QObject
{
public:
    BenchQObject()
    {
        for (const std::string &token : names().tokens) {
            setProperty(token.c_str(), 0.0);
        }
    }

    double count = 0.0;

protected:
    bool event(QEvent *what) override
    {
        count += what->type() == QEvent::DynamicPropertyChange;
        return QObject::event(what);
    }
};

BenchQObject &qtObject()
{
    static BenchQObject theObject;
    return theObject;
}

double qtReads()
{
    double sum = 0.0;
    for (const char *name : names().order) {
        sum += qtObject().property(name).toDouble();
    }
    return sum;
}

double qtSets()
{
    double next = 0.0;
    for (const char *name : names().order) {
        qtObject().setProperty(name, next += 1.0);
    }
    return qtObject().count;
}
#endif

} // namespace

int main(int argc, char **argv)
{
#ifdef ZEL_BENCH_GLIB
    add("glib/get_by_name/F", glibReads);
    add("glib/set_with_one_handler/F", glibSets);
#endif
#ifdef ZEL_BENCH_QT
    const QCoreApplication application(argc, argv);
    add("qt/get_by_name/F", qtReads);
    add("qt/set_with_one_handler/F", qtSets);
#endif
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
