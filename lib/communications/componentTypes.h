#ifndef COMPONENTTYPES_H
#define COMPONENTTYPES_H

/// The numbers by which readers of the diagnostic messages tell the kinds of components apart. They are
/// fixed: programs on other machines know them. Kept: several kinds share a number.
namespace componentTypes {
constexpr unsigned int group = 0; // a node that only holds others together
constexpr unsigned int dataStore = 1;
constexpr unsigned int network = 20;
constexpr unsigned int powerControl = 60;

constexpr unsigned int gpioInterface = 200;
constexpr unsigned int i2cInterface = 210;
constexpr unsigned int serialInterface = 220;
constexpr unsigned int tcpInterface = 220;

constexpr unsigned int sampler = 300;
constexpr unsigned int iotHttpPost = 301;
constexpr unsigned int tcpSampler = 302;

constexpr unsigned int instrument = 10000;
constexpr unsigned int internalSensor = 10000;
constexpr unsigned int ds18b20 = 10001;
constexpr unsigned int controlLogic = 10002;
constexpr unsigned int nativeTransfer = 10002;
constexpr unsigned int valve = 10002;
constexpr unsigned int bme280 = 10005;
constexpr unsigned int boilerSwitchBoard = 10005;
constexpr unsigned int timer = 10005;

constexpr unsigned int internalSensors = 10100;
constexpr unsigned int temperatureSensor = 10101;
constexpr unsigned int diskSensor = 10102;
constexpr unsigned int cpuSensor = 10103;
constexpr unsigned int memorySensor = 10103;

constexpr unsigned int decoder = 20000;
}

#endif
