// Reads a stream of BGP messages (raw, back to back) and runs each through
// GoBGP's packet parser, as an independent reader of what srpolicy writes
// and as the peer of srpolicy's decoder in the benchmark.
//
//	gobgp_parse check FILE    one line per message: "ok" or the parser's error; exit 1 if any failed
//	gobgp_parse parse FILE    parse only; prints messages and seconds
//	gobgp_parse string FILE   parse and String() every path attribute and NLRI
package main

import (
	"bufio"
	"encoding/binary"
	"fmt"
	"io"
	"os"
	"time"

	"github.com/osrg/gobgp/pkg/packet/bgp"
)

func main() {
	if len(os.Args) != 3 {
		fmt.Fprintln(os.Stderr, "usage: gobgp_parse check|parse|string FILE")
		os.Exit(2)
	}
	mode := os.Args[1]
	f, err := os.Open(os.Args[2])
	if err != nil {
		fmt.Fprintln(os.Stderr, err)
		os.Exit(2)
	}
	defer f.Close()
	rd := bufio.NewReaderSize(f, 1<<20)
	// SR Policy routes come in MP_REACH_NLRI; both families are announced.
	opt := &bgp.MarshallingOption{}
	header := make([]byte, bgp.BGP_HEADER_LENGTH)
	messages, failed, sink := 0, 0, 0
	start := time.Now()
	for {
		if _, err := io.ReadFull(rd, header); err != nil {
			break
		}
		length := int(binary.BigEndian.Uint16(header[16:18]))
		if length < bgp.BGP_HEADER_LENGTH {
			fmt.Fprintf(os.Stderr, "message %d: impossible length %d\n", messages+1, length)
			os.Exit(2)
		}
		msg := make([]byte, length)
		copy(msg, header)
		if _, err := io.ReadFull(rd, msg[bgp.BGP_HEADER_LENGTH:]); err != nil {
			fmt.Fprintf(os.Stderr, "message %d: cut short\n", messages+1)
			os.Exit(2)
		}
		messages++
		m, err := bgp.ParseBGPMessage(msg, opt)
		if err != nil {
			failed++
			if mode == "check" {
				fmt.Printf("message %d: %v\n", messages, err)
			}
			continue
		}
		switch mode {
		case "check":
			fmt.Printf("message %d: ok\n", messages)
		case "string":
			if u, ok := m.Body.(*bgp.BGPUpdate); ok {
				for _, a := range u.PathAttributes {
					sink += len(a.String())
				}
			}
		}
	}
	if mode != "check" {
		fmt.Printf("messages %d failed %d seconds %.3f (%d)\n", messages, failed, time.Since(start).Seconds(), sink)
	}
	if failed > 0 && mode == "check" {
		os.Exit(1)
	}
}
