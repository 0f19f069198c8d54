import QtQuick
import Velmora

// The session's ring: a disc of dark glass with a lit arc that runs in a groove and ends in a bead.
// What lies inside is the user's. The glow reaches `reach` pixels beyond the disc.
Item {
    id: ring

    // Share of the ring that is lit, 0 to 1.
    property real progress: 0
    // A still ring's arc is fainter.
    property bool lit: true
    readonly property real reach: Math.round(width * 0.13)
    // The width within the ticks, free for words.
    readonly property real inner: width * 0.72
    default property alias content: words.data

    implicitWidth: 320
    implicitHeight: width
    Accessible.role: Accessible.ProgressBar

    QtObject {
        id: pen

        readonly property real top: -Math.PI / 2
        readonly property real full: Math.PI * 2

        function rgba(color, alpha) {
            return `rgba(${Math.round(color.r * 255)},${Math.round(color.g * 255)},`
                + `${Math.round(color.b * 255)},${alpha})`
        }
        function circle(context, x, y, r) {
            context.beginPath()
            context.arc(x, y, r, 0, full)
        }
        // A radial gradient between two radii whose alpha follows curve(0..1).
        function falloff(context, c, r0, r1, color, curve) {
            const paint = context.createRadialGradient(c, c, 0, c, c, r1)
            paint.addColorStop(0, rgba(color, 0))
            for (let i = 0; i <= 16; i++)
                paint.addColorStop((r0 + (r1 - r0) * i / 16) / r1, rgba(color, curve(i / 16)))
            return paint
        }
    }

    // Drawn once for each size.
    Canvas {
        id: dial
        anchors.fill: parent
        anchors.margins: -ring.reach
        renderStrategy: Canvas.Immediate

        onPaint: {
            const context = getContext("2d")
            context.reset()
            const c = width / 2, R = ring.width / 2, K = ring.width / 384, RT = R - 20 * K
            const fill = (r, paint) => {
                context.fillStyle = paint
                pen.circle(context, c, c, r)
                context.fill()
            }

            // The disc's light on the air around it: a breath, and a short halo at the rim.
            fill(c, pen.falloff(context, c, R * 0.9, c, NeonTheme.glow,
                                u => 0.17 * Math.pow(1 - u, 2.2)))
            fill(R * 1.12, pen.falloff(context, c, R * 0.985, R * 1.12, NeonTheme.edge,
                                       u => 0.2 * Math.pow(1 - u, 3)))

            // Glass, dark where the words stand.
            const glass = context.createRadialGradient(c, c, 0, c, c, R)
            for (const [at, color] of [[0, "#07040c"], [0.46, "#08040e"], [0.66, "#0c0615"],
                                       [0.8, "#120920"], [0.93, "#1c0d30"], [0.968, "#321852"],
                                       [0.992, "#7438b4"], [1, "#5f2d96"]])
                glass.addColorStop(at, color)
            fill(R, glass)
            fill(R, pen.falloff(context, c, R - 5 * K, R, NeonTheme.rim, u => 0.26 * u * u * u))

            // The groove, with a lit lower lip.
            context.lineWidth = 15 * K
            context.strokeStyle = "rgba(9,4,16,0.82)"
            pen.circle(context, c, c, RT)
            context.stroke()
            const lip = context.createLinearGradient(0, c - RT, 0, c + RT)
            lip.addColorStop(0, pen.rgba(NeonTheme.rim, 0.05))
            lip.addColorStop(1, pen.rgba(NeonTheme.rim, 0.22))
            context.lineWidth = Math.max(0.75, 0.8 * K)
            context.strokeStyle = lip
            for (const r of [RT - 7.5 * K, RT + 7.5 * K]) {
                pen.circle(context, c, c, r)
                context.stroke()
            }

            // Sixty ticks, every fifth a major one.
            context.lineCap = "round"
            for (let i = 0; i < 60; i++) {
                const major = i % 5 === 0, half = (major ? 4.5 : 2.5) * K, r = R - 37 * K
                const x = Math.cos(i / 60 * pen.full), y = Math.sin(i / 60 * pen.full)
                context.strokeStyle = pen.rgba(NeonTheme.rim, major ? 0.36 : 0.15)
                context.lineWidth = Math.max(1, (major ? 1.6 : 1.1) * K)
                context.beginPath()
                context.moveTo(c + x * (r - half), c + y * (r - half))
                context.lineTo(c + x * (r + half), c + y * (r + half))
                context.stroke()
            }
        }
    }

    // The lit arc: drawn anew when its head has moved by a visible step.
    Canvas {
        id: arc

        readonly property real share: Math.max(0, Math.min(1, ring.progress))
        readonly property int step: Math.round(share * ring.width * Math.PI * 2)
        readonly property bool bright: ring.lit

        anchors.fill: parent
        anchors.margins: -ring.reach / 2
        renderStrategy: Canvas.Immediate
        onStepChanged: requestPaint()
        onBrightChanged: requestPaint()

        onPaint: {
            const context = getContext("2d")
            context.reset()
            const c = width / 2, K = ring.width / 384, RT = ring.width / 2 - 20 * K
            const head = pen.top + share * pen.full
            const hx = c + Math.cos(head) * RT, hy = c + Math.sin(head) * RT
            const stroke = (width, paint) => {
                context.lineWidth = width
                context.strokeStyle = paint
                context.beginPath()
                context.arc(c, c, RT, pen.top, head)
                context.stroke()
            }
            context.lineCap = "round"
            if (share > 0) {
                // Light around the tube, in rings that thin out; then the tube and its hot thread.
                for (let i = 9; i >= 1; i--)
                    stroke((11 + i * 4.4) * K, pen.rgba(NeonTheme.glow, bright ? 0.026 : 0.01))
                stroke(11 * K, pen.rgba(NeonTheme.deep, bright ? 1 : 0.5))
                if (bright) {
                    stroke(9 * K, pen.rgba(NeonTheme.edge, 0.75))
                    stroke(5.5 * K, pen.rgba(NeonTheme.core, 0.8))
                    stroke(2.2 * K, pen.rgba(NeonTheme.hot, 0.75))
                }
            }
            if (!bright) {
                context.fillStyle = pen.rgba(NeonTheme.edge, 0.5)
                pen.circle(context, hx, hy, 6 * K)
                return context.fill()
            }
            const halo = context.createRadialGradient(hx, hy, 0, hx, hy, 22 * K)
            for (let i = 0; i <= 8; i++)
                halo.addColorStop(i / 8, pen.rgba(NeonTheme.rim, 0.5 * Math.pow(1 - i / 8, 2.6)))
            context.fillStyle = halo
            pen.circle(context, hx, hy, 22 * K)
            context.fill()
            const bead = context.createRadialGradient(hx, hy, 0, hx, hy, 7.5 * K)
            bead.addColorStop(0, "#ffffff")
            bead.addColorStop(0.42, pen.rgba(NeonTheme.hot, 1))
            bead.addColorStop(0.8, pen.rgba(NeonTheme.rim, 1))
            bead.addColorStop(1, pen.rgba(NeonTheme.core, 0.9))
            context.fillStyle = bead
            pen.circle(context, hx, hy, 7.5 * K)
            context.fill()
        }
    }

    Item {
        id: words
        anchors.centerIn: parent
        width: ring.inner
        height: ring.inner
    }
}
