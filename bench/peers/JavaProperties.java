import java.io.FileInputStream;
import java.io.InputStream;
import java.util.Properties;

/** For each line of the input, reads the property file and prints the nanoseconds and the number of keys. */
public class JavaProperties {
    public static void main(String[] arguments) throws Exception {
        while (System.in.read() == '\n') {
            long begin = System.nanoTime();
            Properties properties = new Properties();
            try (InputStream file = new FileInputStream(arguments[0])) {
                properties.load(file);
            }
            System.out.println((System.nanoTime() - begin) + " 0 " + properties.size());
        }
    }
}
