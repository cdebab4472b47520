#include "scene/FormatFixture.h"
#include "scene/formats/AtomicFile.h"
#include "scene/formats/ZipWriter.h"

#include <cmath>
#include <csignal>
#include <cstdlib>
#include <sys/resource.h>
#include <sys/stat.h>
#include <tuple>

namespace {

class FormatFiles : public FormatFixture {
protected:
    /// Runs a Python program that needs NumPy; its arguments are files. False when there is no such Python.
    static bool haveNumpy() { return std::system("/usr/bin/python3 -c 'import numpy' >/dev/null 2>&1") == 0; }
    int python(const std::string& program) const {
        put("check.py", program);
        return std::system(("cd '" + myFolder.string() + "' && /usr/bin/python3 check.py").c_str());
    }
};

TEST_F(FormatFiles, UnreadablePathsGiveOneLine) {
    std::string error;
    GU_Detail d;
    const auto refused = [&](const std::string& file) {
        d.appendPoint();
        EXPECT_FALSE(readGeometry(d, file, error));
        EXPECT_EQ(d.points().entries(), 0u);
        return error;
    };
    EXPECT_EQ(refused(path("none.ply")), path("none.ply") + ": cannot open the file: No such file or directory");
    EXPECT_EQ(refused(myFolder.string()), myFolder.string() + ": is a folder; name a geometry file in it");
    EXPECT_EQ(refused(put("empty.obj", "")), path("empty.obj") + ": is empty");
    EXPECT_EQ(refused(put("a.txt", "v 0 0 0\n")),
              path("a.txt") + ": is of no format that can be read; known are .obj, .ply, .flx and .bflx");
    EXPECT_EQ(refused(put("a.obj", "v 0 0 0\nf 2\n")), path("a.obj") + ": line 2: v number 2, but the file has only 1");
    ASSERT_EQ(::mkfifo(path("pipe.ply").c_str(), 0600), 0);
    EXPECT_EQ(refused(path("pipe.ply")), path("pipe.ply") + ": is no regular file; copy its content into one first");
}

TEST_F(FormatFiles, ContentDecidesWhenTheEndingSaysNothing) {
    GU_Detail made, read;
    made.cube(UT_Vector3(0, 0, 0), UT_Vector3(1, 1, 1));
    installFormats();
    for (const char* ending : {".ply", ".bflx"}) {
        const std::string bytes = write(made, std::string("a") + ending);
        std::string error;
        EXPECT_TRUE(read.load(put("scan.001", bytes).c_str(), nullptr, &error)) << error;
        EXPECT_EQ(read.primitives().entries(), 6u);
    }
}

TEST_F(FormatFiles, RefusedWritesLeaveNothingBehind) {
    put("file", "x");
    std::filesystem::create_directories(path("b.ply"));
    // The only string of the detail.
    const std::tuple<const char*, std::string, const char*> cases[] = {
        {"a.obj", "", ": no format is known for this ending; known are .ply, .csv, .npz, .flx and .bflx"},
        {"file/a.ply", "", ": cannot make the folder: Not a directory"},
        {"b.ply", "", ": is no regular file; choose another name"},
        {"a.flx", "caf\xe9", ": attribute string \"caf?\" is not UTF-8, so no JSON text; write .bflx"},
        {"a.ply", std::string(size_t{17} << 20, 'a'),
         ": its strings make a header of more than 16 MiB, which no reader expects; write .bflx"}};
    for (const auto& [name, text, wanted] : cases) {
        GU_Detail d;
        d.pointAttribs().append("s", 4, GB_ATTRIB_INDEX);
        d.pointAttribs().addIndex("s", text);
        std::string error;
        EXPECT_FALSE(writeGeometry(d, path(name), error));
        EXPECT_EQ(error, path(name) + wanted);
    }
    EXPECT_EQ(listing(), (std::vector<std::string>{"b.ply", "file"}));
}

// A limit on the size of files stands in for a full disk.
TEST_F(FormatFiles, AFullDiskKeepsTheOldFile) {
    GU_Detail d;
    for (int i = 0; i < 100000; ++i) d.appendPoint();
    const struct rlimit small = {1 << 16, RLIM_INFINITY};
    struct rlimit before {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    for (const char* name : {"a.ply", "a.csv", "a.npz", "a.flx", "a.BFLX"}) {
        put(name, "old");
        const auto handler = std::signal(SIGXFSZ, SIG_IGN);
        ::setrlimit(RLIMIT_FSIZE, &small);
        std::string error;
        const bool done = writeGeometry(d, path(name), error);
        ::setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, handler);
        EXPECT_FALSE(done);
        EXPECT_EQ(error, path(name) + ": cannot write the file: File too large");
        EXPECT_EQ(bytesOf(path(name)), "old");
    }
    EXPECT_EQ(listing().size(), 5u);
}

TEST_F(FormatFiles, AtomicFilesAppearOnlyAtCommit) {
    std::string error;
    for (const bool commits : {false, true}) {
        {
            AtomicFile file(path("a"));
            EXPECT_FALSE(file.commit(error)) << "never opened";
            ASSERT_TRUE(file.open(error)) << error;
            file.write(std::string(1000000, 'x'));
            file.write("y");
            EXPECT_EQ(file.position(), 1000001u);
            EXPECT_EQ(listing(), (std::vector<std::string>{"a.tmp-" + std::to_string(::getpid())}));
            EXPECT_TRUE(!commits || file.commit(error)) << error;
        }
        EXPECT_EQ(listing(), commits ? std::vector<std::string>{"a"} : std::vector<std::string>{});
    }
}

// Just below the middle of two floats; rounded to double first it lands on the middle and then on the wrong float.
TEST_F(FormatFiles, TextBecomesTheNearestFloat) {
    const std::string digits = "1.00000017881393432617187499";
    GU_Detail ply, obj, native;
    expectRead(ply, GeometryFormat::PLY,
               "ply\nformat ascii 1.0\nelement vertex 1\nproperty float x\nproperty float y\nproperty float z\n"
               "end_header\n" +
                   digits + " 1e99 -1e-99\n");
    expectRead(obj, GeometryFormat::OBJ, "v " + digits + " 1e99 -1e-99\n");
    expectRead(native, GeometryFormat::FLX, "{\"flxgeo\": 1, \"points\": 1, \"P\": [" + digits + ", 1e99, -1e-99, 1]}");
    for (const GU_Detail* d : {&ply, &obj, &native}) {
        const UT_Vector4& p = d->points()(0)->getPos();
        EXPECT_EQ(p[0], 1 + 0x1p-23f);
        EXPECT_EQ(p[1], std::numeric_limits<float>::infinity());
        EXPECT_EQ(p[2], 0);
        EXPECT_TRUE(std::signbit(p[2]));
    }
}

TEST_F(FormatFiles, CsvQuotesAndNames) {
    GU_Detail d;
    const int life = d.pointAttribs().append("life", 8, GB_ATTRIB_FLOAT);
    const int text = d.pointAttribs().append("say, so", 4, GB_ATTRIB_INDEX);
    d.pointAttribs().append("blob", 3, GB_ATTRIB_RAW);
    const int spin = d.pointAttribs().append("spin", 16, GB_ATTRIB_FLOAT);
    const int cell = d.pointAttribs().append("cell", 12, GB_ATTRIB_INT);
    d.pointAttribs().append("Cd", 12, GB_ATTRIB_FLOAT);
    const char* const words[] = {"plain", "with, comma", "with \"quotes\"", "two\nlines"};
    for (int i = 0; i < 5; ++i) {
        GEO_Point* p = d.appendPoint();
        p->castAttribData<float>(life)[0] = 0.1f * static_cast<float>(i);
        p->castAttribData<float>(life)[1] = -1;
        p->castAttribData<float>(spin)[3] = 1e-45f;
        p->castAttribData<int>(cell)[0] = -2147483647 - 1;
        if (i < 4) *p->castAttribData<int>(text) = d.pointAttribs().addIndex("say, so", words[i]);
    }
    put("a.csv", "old and longer than the new" + std::string(1000, '\n'));
    const std::string tail = ",0,0,0,1e-45,-2147483648,0,0,0,0,0\n";
    EXPECT_EQ(write(d, "a.csv"),
              "x,y,z,age,lifespan,\"say, so\",spin_0,spin_1,spin_2,spin_3,cell_x,cell_y,cell_z,red,green,blue\n"
              "0,0,0,0,-1,plain" +
                  tail + "0,0,0,0.1,-1,\"with, comma\"" + tail + "0,0,0,0.2,-1,\"with \"\"quotes\"\"\"" + tail +
                  "0,0,0,0.3,-1,\"two\nlines\"" + tail + "0,0,0,0.4,-1," + tail);
}

TEST_F(FormatFiles, PythonReadsArchivesAlsoWithWideFields) {
    if (!haveNumpy()) GTEST_SKIP() << "no Python with NumPy";
    GU_Detail d, empty;
    buildEverything(d);
    write(d, "a.npz");
    empty.pointAttribs().append("v", 12, GB_ATTRIB_VECTOR);
    empty.pointAttribs().append("instance", 4, GB_ATTRIB_INDEX);
    empty.pointAttribs().append("odd", 4, GB_ATTRIB_INDEX);
    for (const char* text : {"caf\xe9", "\xe2\x82", "\xc0\xaf-", "\xed\xa0\x80", "\xe2\x82\xac"})
        empty.pointAttribs().addIndex("odd", text);
    write(empty, "b.npz");
    // The wide fields otherwise need archives of 4 GiB.
    std::string error;
    for (const auto& [name, limit] : {std::pair<const char*, uint64_t>{"all.zip", 0}, {"some.zip", 500}}) {
        AtomicFile file(path(name));
        ASSERT_TRUE(file.open(error)) << error;
        formats::ZipWriter zip(file, limit);
        zip.add("one", "he", "llo");
        zip.add("two", "", std::string(600, 'x'));
        zip.add("three", "", "");
        zip.finish();
        ASSERT_TRUE(file.commit(error)) << error;
    }
    EXPECT_EQ(python(R"(
import numpy, zipfile
assert zipfile.ZipFile('a.npz').testzip() is None
a = numpy.load('a.npz')
assert sorted(a.files) == ['Cd', 'P', 'id', 'instance', 'instance_names', 'two words', 'v'], a.files
f = numpy.float32
assert a['P'].shape == (30, 3) and a['P'].dtype == f
assert numpy.isnan(a['P'][3, 0]) and a['P'][4, 1] == -numpy.inf
assert (a['P'][5:, 1] == numpy.arange(5, 30, dtype=f) / f(3)).all()
assert a['v'].shape == (30, 3) and a['v'][29, 0] == f(29) / f(7) and a['v'][0, 0] == f(0.5)
assert a['id'].dtype == numpy.int32 and list(a['id']) == [-i * 70000000 for i in range(30)]
assert a['two words'].shape == (30, 2)
assert list(a['instance']) == [i % 7 - 1 for i in range(30)]
assert list(a['instance_names']) == ['/obj/rock', '', 'a "quoted", text\nwith \\ and \r', '\u00e4\U0001f388', 'twice', 'twice'], a['instance_names']
b = numpy.load('b.npz')
assert b['P'].shape == (0, 3) and b['v'].shape == (0, 3) and b['instance_names'].shape == (0,)
assert list(b['odd_names']) == [t.decode('utf-8', 'replace') if t != b'\xe2\x82' else '\ufffd\ufffd' for t in
                                [b'caf\xe9', b'\xe2\x82', b'\xc0\xaf-', b'\xed\xa0\x80', b'\xe2\x82\xac']], b['odd_names']
for name in ['all.zip', 'some.zip']:
    z = zipfile.ZipFile(name)
    assert z.testzip() is None
    assert {n: z.read(n) for n in z.namelist()} == {'one': b'hello', 'two': b'x' * 600, 'three': b''}
)"),
              0);
}

} // namespace
