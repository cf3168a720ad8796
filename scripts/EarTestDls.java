// Plays two DLS collections with the synthesizer of the Java platform, which reads them itself, and tells how
// far the sounds are apart:
//
//   java --add-exports java.desktop/com.sun.media.sound=ALL-UNNAMED scripts/EarTestDls.java A.dls B.dls [LIMIT]
//
// Every instrument plays notes over its keys in four velocities, and a held note with the mod wheel, the pitch
// wheel, the pressure and the pan controller moving. The difference is printed in dB below the signal, for each
// instrument that comes closer than LIMIT (60); the exit status tells whether one does.
import com.sun.media.sound.AudioSynthesizer;
import com.sun.media.sound.ModelPatch;
import com.sun.media.sound.SoftSynthesizer;
import java.io.File;
import java.util.HashMap;
import java.util.Locale;
import java.util.Map;
import javax.sound.midi.Instrument;
import javax.sound.midi.MidiSystem;
import javax.sound.midi.Receiver;
import javax.sound.midi.ShortMessage;
import javax.sound.midi.Soundbank;
import javax.sound.sampled.AudioFormat;
import javax.sound.sampled.AudioInputStream;

public class EarTestDls {
    static final float RATE = 44100;
    static final double SECONDS = 24;

    static float[] play(Instrument instrument) throws Exception {
        boolean isDrums = instrument.getPatch() instanceof ModelPatch patch && patch.isPercussion();
        int channel = isDrums ? 9 : 0;
        Map<String, Object> info = new HashMap<>();
        info.put("auto gain control", false);
        AudioSynthesizer synth = new SoftSynthesizer();
        AudioFormat format = new AudioFormat(RATE, 24, 2, true, false);
        AudioInputStream stream = synth.openStream(format, info);
        synth.loadInstrument(instrument);
        Receiver receiver = synth.getReceiver();
        int number = instrument.getPatch().getBank();
        send(receiver, 0, ShortMessage.CONTROL_CHANGE, channel, 0, number >> 7);
        send(receiver, 0, ShortMessage.CONTROL_CHANGE, channel, 32, number & 127);
        send(receiver, 0, ShortMessage.PROGRAM_CHANGE, channel, instrument.getPatch().getProgram(), 0);
        double now = 0.1;
        int[] velocities = {32, 64, 100, 127};
        for (int key = 20, i = 0; key <= 112; key += isDrums ? 1 : 3, ++i) {
            send(receiver, now, ShortMessage.NOTE_ON, channel, key, velocities[i % 4]);
            send(receiver, now + 0.15, ShortMessage.NOTE_OFF, channel, key, 64);
            now += isDrums ? 0.15 : 0.4;
        }
        send(receiver, now, ShortMessage.NOTE_ON, channel, 60, 100);
        send(receiver, now, ShortMessage.NOTE_ON, channel, 38, 100);
        for (int value = 0; value < 128; value += 4) {
            send(receiver, now += 0.05, ShortMessage.CONTROL_CHANGE, channel, 1, value);
            send(receiver, now, ShortMessage.CHANNEL_PRESSURE, channel, 127 - value, 0);
            send(receiver, now, ShortMessage.PITCH_BEND, channel, 0, value);
            send(receiver, now, ShortMessage.CONTROL_CHANGE, channel, 10, value);
        }
        byte[] bytes = stream.readNBytes((int) (SECONDS * RATE) * 6);
        synth.close();
        float[] samples = new float[bytes.length / 3];
        for (int i = 0; i < samples.length; ++i)
            samples[i] = (bytes[3 * i] & 255 | (bytes[3 * i + 1] & 255) << 8 | bytes[3 * i + 2] << 16) / 8388608f;
        return samples;
    }

    static void send(Receiver receiver, double seconds, int command, int channel, int one, int two) throws Exception {
        receiver.send(new ShortMessage(command, channel, one & 127, two & 127), (long) (seconds * 1e6));
    }

    static double decibels(double ratio) {
        return ratio <= 0 ? 999 : -10 * Math.log10(ratio);
    }

    public static void main(String[] arguments) throws Exception {
        double limit = arguments.length > 2 ? Double.parseDouble(arguments[2]) : 60, worst = 999;
        Soundbank first = MidiSystem.getSoundbank(new File(arguments[0])), second = MidiSystem.getSoundbank(new File(arguments[1]));
        Instrument[] one = first.getInstruments(), other = second.getInstruments();
        if (one.length != other.length) throw new Exception(one.length + " and " + other.length + " instruments");
        for (int i = 0; i < one.length; ++i) {
            float[] a = play(one[i]), b = play(other[i]);
            double signal = 0, difference = 0;
            for (int k = 0; k < a.length; ++k) {
                signal += (double) a[k] * a[k];
                difference += ((double) a[k] - b[k]) * (a[k] - b[k]);
            }
            double apart = signal == 0 ? (difference == 0 ? 999 : 0) : decibels(difference / signal);
            worst = Math.min(worst, apart);
            if (apart < limit || signal == 0)
                System.out.printf(Locale.ROOT, "  %s: %.1f dB, level %.1f dB%n", one[i].getName(), apart, -decibels(signal / a.length));
        }
        System.out.printf(Locale.ROOT, "%s: %d instruments, worst %s%n", new File(arguments[0]).getName(), one.length,
                          worst == 999 ? "equal" : String.format(Locale.ROOT, "%.1f dB", worst));
        System.exit(worst < limit ? 1 : 0);
    }
}
