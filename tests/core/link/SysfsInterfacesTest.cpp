#include "core/link/SysfsInterfaces.h"
#include "tests/support/FakeSysfs.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tarvinel {
namespace {

using enum InterfaceType;

class SysfsInterfacesTest : public testing::Test {
 protected:
  std::optional<InterfaceType> below(const std::string& name) const {
    return SysfsInterfaces(sysfs.path()).hardwareBelow(name);
  }

  test::FakeSysfs sysfs;
};

TEST_F(SysfsInterfacesTest, AnEthernetCardIsWired) {
  sysfs.ethernet("enp3s0");
  EXPECT_EQ(below("enp3s0"), wiredEthernet);
}

TEST_F(SysfsInterfacesTest, AnAdapterOrDockOnUSBIsWired) {
  sysfs.hardware("enx0", "cdc_ether");
  sysfs.hardware("enx1", "cdc_ncm");
  sysfs.hardware("enx2", "ax88179_178a");
  for (const char* name : {"enx0", "enx1", "enx2"})
    EXPECT_EQ(below(name), wiredEthernet) << name;
}

TEST_F(SysfsInterfacesTest, WiFiIsToldByAnyOfItsMarks) {
  sysfs.wifi("wlan0");
  sysfs.hardware("wlan1", "brcmfmac", "wlan");
  sysfs.hardware("wlan2", "old");
  std::filesystem::create_directory(sysfs.at("wlan2") / "wireless");
  sysfs.virtualInterface("ap0");
  std::filesystem::create_directory(sysfs.at("ap0") / "phy80211");
  for (const char* name : {"wlan0", "wlan1", "wlan2", "ap0"})
    EXPECT_EQ(below(name), wifi) << name;
}

TEST_F(SysfsInterfacesTest, APhoneOrModemLeadsElsewhere) {
  sysfs.hardware("usb0", "rndis_host");
  sysfs.hardware("eth1", "ipheth");
  sysfs.hardware("wwan0", "qmi_wwan", "wwan");
  for (const char* name : {"usb0", "eth1", "wwan0"})
    EXPECT_EQ(below(name), cellular) << name;
}

TEST_F(SysfsInterfacesTest, OtherHardwareIsNotEthernet) {
  sysfs.hardware("bnep0", "bluetooth", "bluetooth");
  sysfs.hardware("ib0", "mlx5_core");
  sysfs.write("ib0/type", "32\n");
  EXPECT_EQ(below("bnep0"), other);
  EXPECT_EQ(below("ib0"), other);
}

TEST_F(SysfsInterfacesTest, LoopbackTunnelsAndContainersHaveNoHardware) {
  sysfs.virtualInterface("lo");
  sysfs.virtualInterface("wg0", {}, "wireguard");
  sysfs.virtualInterface("tun0");
  sysfs.virtualInterface("veth1");
  sysfs.virtualInterface("docker0", {"veth1"}, "bridge");
  sysfs.virtualInterface("virbr0", {}, "bridge");
  for (const char* name : {"lo", "wg0", "tun0", "veth1", "docker0", "virbr0"})
    EXPECT_EQ(below(name), std::nullopt) << name;
}

TEST_F(SysfsInterfacesTest, ABridgeIsWhatItsPortsAre) {
  sysfs.ethernet("eth0");
  sysfs.virtualInterface("tap0");
  sysfs.virtualInterface("br0", {"tap0", "eth0"}, "bridge");
  EXPECT_EQ(below("br0"), wiredEthernet);
  sysfs.virtualInterface("br1", {}, "bridge");
  std::filesystem::create_directories(sysfs.at("br1") / "brif/eth0");
  EXPECT_EQ(below("br1"), wiredEthernet);
}

TEST_F(SysfsInterfacesTest, ABridgeOfCableAndWiFiIsAsSlowAsItsSlowestPort) {
  sysfs.ethernet("eth0");
  sysfs.wifi("wlan0");
  sysfs.virtualInterface("br0", {"eth0", "wlan0"}, "bridge");
  EXPECT_EQ(below("br0"), wifi);
}

TEST_F(SysfsInterfacesTest, ABondIsTheOneOfItsLinksThatIsInUse) {
  sysfs.ethernet("eth0");
  sysfs.wifi("wlan0");
  sysfs.virtualInterface("bond0", {"eth0", "wlan0"}, "bond");
  sysfs.write("bond0/bonding/active_slave", "eth0\n");
  EXPECT_EQ(below("bond0"), wiredEthernet);
  sysfs.write("bond0/bonding/active_slave", "wlan0\n");
  EXPECT_EQ(below("bond0"), wifi);
  sysfs.write("bond0/bonding/active_slave", "\n");
  EXPECT_EQ(below("bond0"), wifi);
}

TEST_F(SysfsInterfacesTest, VLANsTeamsAndMacvlansAreFollowedDown) {
  sysfs.ethernet("eth0");
  sysfs.wifi("wlan0");
  sysfs.virtualInterface("eth0.5", {"eth0"}, "vlan");
  sysfs.virtualInterface("team0", {"eth0"});
  sysfs.virtualInterface("macvlan0", {"wlan0"});
  EXPECT_EQ(below("eth0.5"), wiredEthernet);
  EXPECT_EQ(below("team0"), wiredEthernet);
  EXPECT_EQ(below("macvlan0"), wifi);
}

TEST_F(SysfsInterfacesTest, TheHardwareMayLieSeveralLevelsDown) {
  sysfs.ethernet("eth0");
  sysfs.ethernet("eth1");
  sysfs.virtualInterface("bond0", {"eth0", "eth1"}, "bond");
  sysfs.virtualInterface("bond0.7", {"bond0"}, "vlan");
  sysfs.virtualInterface("br7", {"bond0.7"}, "bridge");
  EXPECT_EQ(below("br7"), wiredEthernet);
}

TEST_F(SysfsInterfacesTest, ACircleEnds) {
  sysfs.virtualInterface("a", {"b"});
  sysfs.virtualInterface("b", {"a", "c"});
  EXPECT_EQ(below("a"), std::nullopt);
  sysfs.ethernet("c");
  EXPECT_EQ(below("a"), wiredEthernet);
}

TEST_F(SysfsInterfacesTest, OfTwoHundredPortsOneHasHardware) {
  std::vector<std::string> ports;
  for (int i = 0; i < 200; ++i) {
    ports.push_back("veth" + std::to_string(i));
    sysfs.virtualInterface(ports.back());
  }
  sysfs.virtualInterface("br0", ports, "bridge");
  EXPECT_EQ(below("br0"), std::nullopt);
  std::filesystem::create_directory(sysfs.at("veth123") / "device");
  EXPECT_EQ(below("br0"), wiredEthernet);
}

TEST_F(SysfsInterfacesTest, WhatIsNotThereHasNoHardware) {
  EXPECT_EQ(below("eth0"), std::nullopt);
  EXPECT_EQ(SysfsInterfaces("/nowhere").hardwareBelow("eth0"), std::nullopt);
  sysfs.virtualInterface("eth0.5", {"eth0"}, "vlan");  // whose parent does not exist
  EXPECT_EQ(below("eth0.5"), std::nullopt);
}

}  // namespace
}  // namespace tarvinel
