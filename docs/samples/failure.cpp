// Ends the process, as the page says.
#include <pcm/pcm.hpp>

int main()
{
    const pcm::Module module;
    pcm::Packet pkt(2);
    pkt.AppendZero(100);
    pkt.WriteZero(90, 11); // frames 90 to 101 of a packet of 100
}
