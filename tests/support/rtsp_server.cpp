/*
 * An RTSP server that serves one pipeline, for tests.
 *
 *   rtsp_server PORT PIPELINE [udp|tcp]        (port 0: any)
 *
 * The pipeline is in the notation of gst-launch, its payloaders named pay0, pay1 ... It is served as
 * rtsp://127.0.0.1:PORT/live, afresh for each client, over both transports or the one named. "ready" on
 * standard output tells that clients may come. Ends with its standard input.
 */
#include <gst/rtsp-server/rtsp-server.h>

#include <cstdio>
#include <memory>
#include <string>
#include <unistd.h>

namespace {

struct Unref {
    template <class Object>
    void operator()(Object* object) const {
        g_object_unref(object);
    }
};

gboolean quit(GIOChannel* /*channel*/, GIOCondition /*condition*/, gpointer loop) {
    g_main_loop_quit(static_cast<GMainLoop*>(loop));
    return G_SOURCE_REMOVE;
}

} // namespace

int main(int argc, char** argv) {
    gst_init(&argc, &argv);
    if (argc < 3) {
        std::fputs("usage: rtsp_server PORT PIPELINE [udp|tcp]\n", stderr);
        return 2;
    }
    const std::string transport = argc > 3 ? argv[3] : "";
    const std::unique_ptr<GMainLoop, decltype(&g_main_loop_unref)> loop{g_main_loop_new(nullptr, FALSE),
                                                                        g_main_loop_unref};
    const std::unique_ptr<GstRTSPServer, Unref> server{gst_rtsp_server_new()};
    gst_rtsp_server_set_address(server.get(), "127.0.0.1");
    gst_rtsp_server_set_service(server.get(), argv[1]);

    GstRTSPMediaFactory* const factory = gst_rtsp_media_factory_new();
    gst_rtsp_media_factory_set_launch(factory, argv[2]);
    if (!transport.empty()) {
        gst_rtsp_media_factory_set_protocols(factory, transport == "tcp" ? GST_RTSP_LOWER_TRANS_TCP
                                                                         : GST_RTSP_LOWER_TRANS_UDP);
    }
    const std::unique_ptr<GstRTSPMountPoints, Unref> mounts{gst_rtsp_server_get_mount_points(server.get())};
    gst_rtsp_mount_points_add_factory(mounts.get(), "/live", factory);
    if (gst_rtsp_server_attach(server.get(), nullptr) == 0) {
        std::fputs("rtsp_server: the port cannot be opened\n", stderr);
        return 1;
    }
    const std::unique_ptr<GIOChannel, decltype(&g_io_channel_unref)> input{
        g_io_channel_unix_new(STDIN_FILENO), g_io_channel_unref};
    g_io_add_watch(input.get(), static_cast<GIOCondition>(G_IO_HUP | G_IO_IN), quit, loop.get());
    std::printf("%d\n", gst_rtsp_server_get_bound_port(server.get()));
    std::fflush(stdout);
    g_main_loop_run(loop.get());
}
