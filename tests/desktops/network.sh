#!/bin/sh
# Gives the container a link, so that the program has an address to show.
set -e
ip link set lo up
ip link add room type veth peer name switch
ip address add 192.168.7.2/24 dev room
ip link set switch up
ip link set room up
ip route add default via 192.168.7.1
