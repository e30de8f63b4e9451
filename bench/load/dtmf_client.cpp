// A telephone whose keys are pressed: dtmf_client PORT DIGITS sends the digits to a party's port as telephone events,
// which GStreamer makes, two or so in a second. For tests/bridge_live.sh.
#include <cstdio>
#include <cstdlib>
#include <string>

#include <gst/gst.h>

int main(int argc, char **argv)
{
    if (argc != 3)
        return std::fputs("Usage: dtmf_client PORT DIGITS\n", stderr), 2;
    gst_init(nullptr, nullptr);
    const std::string what =
        "rtpdtmfsrc name=keys pt=101 ! udpsink async=false host=127.0.0.1 port=" + std::string(argv[1]);
    GstElement *pipeline = gst_parse_launch(what.c_str(), nullptr);
    GstElement *keys = pipeline ? gst_bin_get_by_name(GST_BIN(pipeline), "keys") : nullptr;
    if (!keys || gst_element_set_state(pipeline, GST_STATE_PLAYING) == GST_STATE_CHANGE_FAILURE)
        return std::fputs("dtmf_client: GStreamer has no rtpdtmfsrc or udpsink\n", stderr), 77;
    const auto press = [&](bool start, int number) {
        GstStructure *event =
            gst_structure_new("dtmf-event", "type", G_TYPE_INT, 1, "method", G_TYPE_INT, 1, "start", G_TYPE_BOOLEAN,
                              start, "number", G_TYPE_INT, number, "volume", G_TYPE_INT, 6, nullptr);
        gst_element_send_event(pipeline, gst_event_new_custom(GST_EVENT_CUSTOM_UPSTREAM, event));
        g_usleep(start ? 300000 : 150000); // GStreamer makes none shorter than 250 ms, with 100 ms between them
    };
    g_usleep(500000);
    for (const char digit : std::string(argv[2])) {
        const auto number = static_cast<int>(std::string("0123456789*#ABCD").find(digit));
        press(true, number);
        press(false, number);
    }
    g_usleep(500000);
    gst_element_set_state(pipeline, GST_STATE_NULL);
}
